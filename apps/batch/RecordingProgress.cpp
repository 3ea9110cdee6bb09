#include "apps/batch/RecordingProgress.h"

#include "recordings/base/Text.h"
#include "tracking/RecordingTracker.h"

namespace katessel {

void RecordingProgress::begin(const std::string& stage, double seconds) {
    m_stage = stage + " ";
    m_seconds = seconds;
    m_end = seconds > 0.0 ? " of " + clockTime(seconds) : "";
    m_progress.restart();
}

void RecordingProgress::advance(double seconds) {
    if (!m_progress.isDue()) return;
    m_progress.advance(m_seconds > 0.0 ? seconds / m_seconds : -1.0, m_stage + clockTime(seconds) + m_end, seconds);
}

OnProgress RecordingProgress::watch(const std::string& stage, double seconds) {
    begin(stage, seconds);
    return [this](double done) { advance(done); };
}

Recording readRecording(const std::string& path, RecordingProgress& progress, const SoundSelection& selection) {
    RecordingStream sound(path, selection);
    return readRecording(sound, progress.watch("reading", sound.expectedSeconds()));
}

PitchTrack trackRecording(const Model& model, TrackMode mode, const Recording& recording, const std::string& path,
                          RecordingProgress& progress) {
    const OnProgress onProgress = progress.watch("tracking", recording.seconds());
    PitchTrack track;
    RecordingTracker(model.path, mode).track(recording, path, [&](const PitchRow& row) {
        track.push_back(row);
        onProgress(row.time);
    });
    return track;
}

}  // namespace katessel
