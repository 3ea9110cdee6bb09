// From recordings to their pitch, one after the other: where sound meets the engine.
#pragma once

#include <functional>
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

    using OnRow = std::function<void(const PitchRow&)>;

    // Reads the sound to its end and calls onRow for every 5 ms from instant 0 on, as long as the instant lies inside; the
    // frequency is there whatever the confidence. Offline it holds the sound of two minutes, live a fraction of a second.
    // A recording at a rate that KaTessel::Tracker does not take is read and converted as a whole first, but never where a
    // block size is given: one that does not fit the rate is wrong usage. `path` is named when it fails.
    void track(SoundStream& sound, const std::string& path, const OnRow& onRow);

    // The same for a recording that is there already.
    void track(const Recording& recording, const std::string& path, const OnRow& onRow);
    PitchTrack track(const Recording& recording, const std::string& path);

private:
    void trackConverted(SoundStream& sound, const std::string& path, const OnRow& onRow);
    void trackLive(SoundStream& sound, const OnRow& onRow);
    void trackOffline(SoundStream& sound, const OnRow& onRow);
    void trackBlocks(SoundStream& sound, const std::string& path, const OnRow& onRow) const;

    std::string m_model;
    TrackMode m_mode;
    std::optional<int> m_blockSize;
    std::optional<KaTessel::Tracker> m_tracker;  // at the rate of the last recording
};

}  // namespace katessel
