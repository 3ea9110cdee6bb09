// How recordings become tracks: the command line's wishes, checked and completed.
#pragma once

#include <limits>
#include <optional>
#include <string>

#include "apps/batch/TrackOptions.h"
#include "apps/formats/TrackFormat.h"
#include "recordings/audio/SoundSource.h"
#include "tracking/Model.h"

namespace katessel {

// The same for all recordings of a run.
struct TrackSettings {
    Model model;
    double lowest = 0.0, highest = std::numeric_limits<double>::infinity();  // [Hz] of voiced rows
    TrackMode mode = TrackMode::offline;
    Voicing voicing = Voicing::smooth;
    std::optional<int> blockSize;  // [samples]; none: every frame
    std::optional<int> channel;    // from 1 on; none: the average of all
    std::optional<RawForm> raw;
    bool allowDamaged = false;
    Excerpt excerpt;
    const TrackFormat* format = nullptr;
    PitchUnit unit = PitchUnit::hertz;
    UnvoicedRows unvoiced = UnvoicedRows::zero;
    bool loudness = false;   // as a column
    double tempo = 120.0;    // [beats a minute] of MIDI files
    bool pitchBend = false;  // in MIDI files
    std::string about;       // library, model and settings as a JSON object, for formats that say so
};

// All but what depends on the model. `defaultFormat` is for a command line that names none. What contradicts itself is
// wrong usage.
TrackSettings chooseSettings(const TrackOptions& options, const TrackFormat& defaultFormat);

// The rest. Fails unless the model is good.
void completeSettings(const TrackOptions& options, TrackSettings& settings);

}  // namespace katessel
