// Tracking one recording after the other, each from reading to writing.
#pragma once

#include "apps/batch/TrackPlan.h"
#include "apps/batch/TrackSettings.h"
#include "apps/formats/TrackDocument.h"
#include "tracking/TrackEngine.h"

namespace katessel {

class TrackWorker {
public:
    // Refers to the settings.
    explicit TrackWorker(const TrackSettings& settings);

    // Writes the track of one recording. Returns how much sound that was [s].
    double run(const TrackJob& job);

private:
    TrackDocument track(const TrackJob& job);

    const TrackSettings& m_settings;
    TrackEngine m_engine;
};

}  // namespace katessel
