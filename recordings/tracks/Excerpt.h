// A part of a recording: what must be read for it, and which rows belong to it.
#pragma once

#include <optional>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

struct Excerpt {
    double start = 0.0;              // [s] in the recording
    std::optional<double> duration;  // [s]; none: to the end

    // The instants between which the recording is read [s]: more than the excerpt on both sides, so that its rows hear
    // what they hear in the whole recording. It begins with a whole second, where the samples of every rate and the
    // frames of 5 ms fall together.
    double readFrom() const;
    double readTo() const;

    // The end of what is tracked [s], where the recording ends at `recordingEnd` [s].
    double end(double recordingEnd) const;

    // Whether a row at `time` [s] of the recording belongs to it.
    bool holds(double time) const;
};

}  // namespace katessel
