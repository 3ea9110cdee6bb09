// One recording after the other, each from its sound to the file of its track.
#pragma once

#include <string>

#include "apps/batch/RecordingProgress.h"
#include "apps/batch/TrackPlan.h"
#include "apps/batch/TrackSettings.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

class TrackWorker {
public:
    // The settings must outlive the worker.
    explicit TrackWorker(const TrackSettings& settings)
        : m_settings(settings), m_tracker(settings.model.path, settings.mode, settings.blockSize) {}

    // Writes the track of one recording while it is computed: a file that appears when it is whole, or rows on standard
    // output. Returns how much sound that was [s], and in `damage` what it lacks. `progress` is shown if there is one.
    double run(const TrackJob& job, std::string& damage, RecordingProgress* progress = nullptr);

private:
    const TrackSettings& m_settings;
    RecordingTracker m_tracker;
};

}  // namespace katessel
