#include "tracking/RecordingTracker.h"

#include <cmath>
#include <utility>

#include "recordings/base/Errors.h"
#include "tracking/ModelCard.h"
#include "tracking/ModelCheck.h"
#include "tracking/ModelPath.h"
#include "tracking/OfflineTrack.h"
#include "tracking/StreamTrack.h"

namespace katessel {

void checkThreshold(const std::optional<double>& threshold) {
    if (threshold && !(*threshold >= 0.0 && std::isfinite(*threshold)))
        failUsage("wrong threshold", "--threshold", "a number from 0 up", shortNumber(*threshold));
}

RecordingTracker::RecordingTracker(const std::string& model, const std::optional<double>& threshold, TrackMode mode)
    : m_mode(mode) {
    checkThreshold(threshold);
    m_model = modelPath(model);
    checkModel(m_model);
    m_threshold = threshold ? *threshold : defaultThreshold(m_model);
}

PitchTrack RecordingTracker::track(Recording recording, const std::string& path) const {
    PitchTrack track = m_mode == TrackMode::live ? streamTrack(recording, path, m_model)
                                                 : offlineTrack(std::move(recording), path, m_model);
    applyThreshold(track, m_threshold);
    return track;
}

}  // namespace katessel
