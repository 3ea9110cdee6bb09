// `katessel eval`: how well tracks agree with recordings of known pitch.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "recordings/scoring/ScoreReport.h"
#include "tracking/TrackMode.h"

namespace katessel {

struct EvalOptions {
    std::vector<std::string> references;  // one folder of recordings, or an .f0 file and a track
    std::string tracks;                   // folder of tracks to score instead of tracking; empty: none
    std::string model;                    // empty: the default model
    std::optional<double> threshold;      // none: the model's own; for a track, 0: what it calls voiced
    TrackMode mode = TrackMode::offline;
    std::string csv, json;                // files for the same figures; empty: none
};

// Scores every recording in and below the folder that `options` name, by folder and, last, all together.
std::vector<ScoredGroup> scoreFolder(const EvalOptions& options);

void runEval(const EvalOptions& options);

}  // namespace katessel
