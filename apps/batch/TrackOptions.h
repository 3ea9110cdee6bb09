// What the command line of `katessel track` says; what it leaves out is none or empty.
#pragma once

#include <optional>
#include <string>

#include "apps/batch/InputSelection.h"
#include "recordings/audio/Excerpt.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

struct TrackOptions {
    InputOptions inputs;
    std::optional<std::string> shard;
    std::string output;  // a file for one recording, a folder for several
    bool skipExisting = false, force = false;
    std::optional<int> threads;

    std::string model;
    std::optional<double> threshold;        // none: the model's own
    std::optional<Voicing> voicing;         // none: the mode's usual one
    std::optional<double> lowest, highest;  // [Hz]
    std::optional<TrackMode> mode;          // none: offline, or live where a block size is given
    std::optional<int> blockSize;           // [samples]; none: every frame
    std::optional<int> channel;             // from 1 on; none: the average of all
    Excerpt excerpt;
    std::optional<std::string> raw;
    bool allowDamaged = false;

    std::optional<std::string> format, unit, unvoiced;  // by name
    bool cents = false;
    bool loudness = false;
    std::optional<double> tempo;  // [beats a minute]
    bool pitchBend = false;
    bool quiet = false;
};

}  // namespace katessel
