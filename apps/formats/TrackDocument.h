// A finished track with everything that a file about it may say.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

enum class PitchUnit { hertz, cents, midi };      // cents above 440 Hz; MIDI note numbers with fractions
enum class UnvoicedRows { zero, notANumber, drop };

struct TrackDocument {
    PitchTrack track;
    double start = 0.0, end = 0.0;  // [s] of the part that was tracked
    PitchUnit unit = PitchUnit::hertz;
    UnvoicedRows unvoiced = UnvoicedRows::zero;
    std::string recording;         // its path
    int rate = 0;                  // [Hz] of the recording
    nlohmann::ordered_json about;  // library, model and settings
};

// Name of the column of pitches: frequency, cents or midi.
const char* pitchColumn(PitchUnit unit);

// Calls row(time, pitch, confidence) for every row to be written, with the pitch as the document wants it.
template <typename Row>
void forEachRow(const TrackDocument& document, Row row);

// The pitch of one row in the document's unit; what stands for it where the row is unvoiced.
double pitchOf(const PitchRow& row, const TrackDocument& document);

template <typename Row>
void forEachRow(const TrackDocument& document, Row row) {
    for (const PitchRow& each : document.track) {
        if (each.frequency <= 0.0f && document.unvoiced == UnvoicedRows::drop) continue;
        row(each.time, pitchOf(each, document), static_cast<double>(each.confidence));
    }
}

}  // namespace katessel
