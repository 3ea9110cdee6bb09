// Tracking one recording after the other, each from reading to writing.
#ifndef KATESSEL_APPS_TRACKWORKER_H
#define KATESSEL_APPS_TRACKWORKER_H

#include "apps/batch/TrackPlan.h"
#include "apps/batch/TrackSettings.h"
#include "apps/formats/TrackDocument.h"
#include "tracking/TrackEngine.h"

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

#endif
