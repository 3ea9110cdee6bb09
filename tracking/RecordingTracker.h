// Tracking a recording for a command that goes on with its pitch.
#pragma once

#include <optional>
#include <string>

#include "recordings/audio/AudioFile.h"
#include "recordings/tracks/PitchTrack.h"
#include "tracking/TrackMode.h"

namespace katessel {

// Fails unless `threshold`, where given, is a number from 0 up.
void checkThreshold(const std::optional<double>& threshold);

class RecordingTracker {
public:
    // An empty model is the default one, no threshold the model's own. Fails unless the model is good.
    RecordingTracker(const std::string& model, const std::optional<double>& threshold, TrackMode mode);

    const std::string& model() const { return m_model; }
    double threshold() const { return m_threshold; }

    // The pitch, with rows below the threshold marked as unvoiced. `path` is named when it fails.
    PitchTrack track(Recording recording, const std::string& path) const;

private:
    std::string m_model;
    double m_threshold = 0.0;
    TrackMode m_mode;
};

}  // namespace katessel
