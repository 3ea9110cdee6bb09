// From recordings to their pitch, one after the other: where sound meets the engine.
#pragma once

#include <optional>
#include <string>

#include "katessel/Tracker.hpp"
#include "recordings/audio/AudioFile.h"
#include "recordings/tracks/PitchTrack.h"
#include "tracking/Model.h"

namespace katessel {

class RecordingTracker {
public:
    // The model must be one that an engine may open. With a block size [samples], which needs the live mode, the track is
    // what a host sees that passes so many samples a call: one row for each call that completed a frame.
    RecordingTracker(std::string model, TrackMode mode, std::optional<int> blockSize = std::nullopt);

    // A row for every 5 ms from instant 0 on, as long as the instant lies inside the recording; the frequency is there
    // whatever the confidence. A recording at a rate that KaTessel::Tracker does not take is converted first, but never
    // where a block size is given: one that does not fit the rate is wrong usage. `path` is named when it fails.
    PitchTrack track(const Recording& recording, const std::string& path);

private:
    PitchTrack trackAtItsRate(const Recording& recording);
    PitchTrack trackBlocks(const Recording& recording, const std::string& path) const;

    std::string m_model;
    TrackMode m_mode;
    std::optional<int> m_blockSize;
    std::optional<KaTessel::Tracker> m_tracker;  // at the rate of the last recording
};

}  // namespace katessel
