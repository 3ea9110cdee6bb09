// What `katessel plot` draws, as its options say.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "recordings/audio/Excerpt.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

struct PlotOptions {
    std::string recording;
    std::string output;                 // .png or .svg
    std::string track;                  // a track to show; empty: the recording is tracked
    std::vector<std::string> overlays;  // NAME=FILE: further tracks or .f0 files
    std::string model;                  // empty: the default model
    std::optional<double> threshold;    // none: the model's own; of a given track, 0
    TrackMode mode = TrackMode::offline;
    std::optional<Voicing> voicing;  // none: the mode's usual one; of a given track, frame
    Excerpt excerpt;
    double topFrequency = 2000.0;           // [Hz]
    std::optional<double> bottomFrequency;  // [Hz]; none: 50, or 0 of a linear axis
    bool linear = false;                    // frequency axis
    double range = 70.0;                    // [dB]
    std::string size = "1200x700";          // [pixels]
    std::string title;                      // empty: the recording's name
    bool quiet = false;
};

// Reads and tracks what the options name and writes the picture.
void runPlot(const PlotOptions& options);

}  // namespace katessel
