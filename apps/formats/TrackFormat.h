// The file formats of a track. A new one is a function below, defined beside its like, and a row in the table of
// TrackFormat.cpp.
#pragma once

#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

enum class PitchUnit { hertz, cents, midi };  // cents above 440 Hz; MIDI note numbers with fractions
enum class UnvoicedRows { zero, notANumber, drop };

// A finished track with everything that a file about it may say.
struct TrackDocument {
    PitchTrack track;
    double start = 0.0, end = 0.0;  // [s] of the part that was tracked
    PitchUnit unit = PitchUnit::hertz;
    UnvoicedRows unvoiced = UnvoicedRows::zero;
    std::string recording;  // its path
    int rate = 0;           // [Hz] of the recording
    std::string about;      // library, model and settings as a JSON object
};

struct TrackFormat {
    const char* name;
    const char* extension;
    bool hasRows;   // one entry a row: unit and unvoiced rows can be chosen
    bool isBinary;  // nothing for a terminal
    std::string (*bytes)(const TrackDocument&);
};

// All of them; the first is the default.
const std::vector<TrackFormat>& trackFormats();

// The one of that name, which must be one of them.
const TrackFormat& trackFormat(const std::string& name);

// The one that a file of this name says it is in, by its extension in any case; the default where it has none. Any other
// extension is wrong usage.
const TrackFormat& trackFormatOfFile(const std::string& path);

// Whether a file of this name says that it is a track.
bool isNamedLikeTrack(const std::string& path);

// Name of the column of pitches: frequency, cents or midi.
const char* pitchColumn(PitchUnit unit);

// The pitch of one row in the document's unit; what stands for it where the row is unvoiced.
double pitchOf(const PitchRow& row, const TrackDocument& document);

// Calls row(time, pitch, confidence) for every row to be written, with the pitch as the document wants it.
template <typename Row>
void forEachRow(const TrackDocument& document, Row row) {
    for (const PitchRow& each : document.track) {
        if (each.frequency <= 0.0f && document.unvoiced == UnvoicedRows::drop) continue;
        row(each.time, pitchOf(each, document), static_cast<double>(each.confidence));
    }
}

// Text in columns, separated by commas or tabs: a header line and one line a row of time [s], pitch, confidence. A pitch
// that is not a number is `nan`.
std::string csvText(const TrackDocument& document);
std::string tsvText(const TrackDocument& document);

// The line of one row in such a text.
std::string csvLine(double time, double pitch, double confidence, char separator = ',');

// A Praat PitchTier: a point in Hz for every voiced row.
std::string pitchTierText(const TrackDocument& document);

// Lines of seconds and Hz for every 5 ms from instant 0 on, as .f0 files hold known pitch: 0 where there is none, -1 for
// what was not tracked.
std::string f0Text(const TrackDocument& document);

// Labelled segments, one a line: start [s], end [s] and `voiced` or `unvoiced`, separated by tabs. They cover the part
// that was tracked; between two rows that differ they meet in the middle.
std::string labText(const TrackDocument& document);

// One line of JSON: `recording`, `sample_rate`, `start`, `end`, what the document is about, and `track` with one array a
// column. A pitch that is not a number is null.
std::string jsonText(const TrackDocument& document);

// A NumPy array, float32, rows x 3 in C order: time [s], pitch, confidence.
std::string npyBytes(const TrackDocument& document);

// A standard MIDI file: format 0, one track, channel 1, a millisecond a tick. Its notes are those of Notes.h, all equally
// loud, since a pitch track says nothing of loudness. It ends with the part that was tracked.
std::string midiBytes(const TrackDocument& document);

}  // namespace katessel
