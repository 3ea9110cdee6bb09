// The progress through one recording, stage by stage.
#pragma once

#include <string>

#include "apps/batch/Progress.h"
#include "recordings/audio/AudioFile.h"
#include "recordings/base/OnProgress.h"
#include "recordings/tracks/PitchTrack.h"
#include "tracking/Model.h"

namespace katessel {

class RecordingProgress {
public:
    explicit RecordingProgress(bool wanted) : m_progress(wanted, kPatience) {}
    ~RecordingProgress() { m_progress.erase(); }
    RecordingProgress(const RecordingProgress&) = delete;
    RecordingProgress& operator=(const RecordingProgress&) = delete;

    // A stage begins, "reading", of so many seconds of sound; 0 or less: nobody knows how many.
    void begin(const std::string& stage, double seconds);

    // It has come as far as that [s].
    void advance(double seconds);

    // For whoever does the work: tells how far it has come.
    OnProgress watch(const std::string& stage, double seconds);

private:
    static constexpr double kPatience = 0.5;  // [s] in which most recordings are done

    Progress m_progress;
    std::string m_stage, m_end;
    double m_seconds = 0.0;
};

// The two stages that commands share: a recording read as a whole or in part, and its track, its voicing undecided.
Recording readRecording(const std::string& path, RecordingProgress& progress, const SoundSelection& selection = {});
PitchTrack trackRecording(const Model& model, TrackMode mode, const Recording& recording, const std::string& path,
                          RecordingProgress& progress);

}  // namespace katessel
