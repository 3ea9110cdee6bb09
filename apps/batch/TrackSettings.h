// How recordings become tracks: the command line's wishes, checked and completed.
#pragma once

#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "apps/commands/Track.h"
#include "apps/formats/TrackDocument.h"
#include "apps/formats/TrackFormat.h"
#include "recordings/audio/RawForm.h"
#include "recordings/tracks/Excerpt.h"

namespace katessel {

// The same for all recordings of a run.
struct TrackSettings {
    std::string model;
    double threshold = 0.0;
    double lowest = 0.0, highest = std::numeric_limits<double>::infinity();  // [Hz] of voiced rows
    TrackMode mode = TrackMode::offline;
    std::optional<int> blockSize;  // [samples]; none: every frame
    std::optional<int> channel;    // from 1 on; none: the average of all
    std::optional<RawForm> raw;
    Excerpt excerpt;
    const TrackFormat* format = nullptr;
    PitchUnit unit = PitchUnit::hertz;
    UnvoicedRows unvoiced = UnvoicedRows::zero;
    nlohmann::ordered_json about;  // library, model and settings, for formats that say so
};

// All but what depends on the model. `defaultFormat` is for a command line that names none. What contradicts itself is
// wrong usage.
TrackSettings chooseSettings(const TrackOptions& options, const TrackFormat& defaultFormat);

// The rest. Fails unless the model is good.
void chooseModel(const TrackOptions& options, TrackSettings& settings);

}  // namespace katessel
