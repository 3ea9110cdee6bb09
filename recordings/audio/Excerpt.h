// A part of a recording: what must be read for it, and which rows belong to it.
#pragma once

#include <optional>
#include <string>

namespace katessel {

struct Excerpt {
    double start = 0.0;              // [s] in the recording
    std::optional<double> duration;  // [s]; none: to the end

    // The instants between which the recording is read [s]: more than the excerpt on both sides, so that its rows hear
    // what they hear in the whole recording. It begins with a whole second, where the samples of every rate and the
    // frames of 5 ms fall together.
    double readFrom() const;
    double readTo() const;

    // The end of what there is of it [s], where the recording at `path` ends at `recordingEnd` [s]. Fails where that is
    // before it begins.
    double end(double recordingEnd, const std::string& path) const;

    // Whether a row at `time` [s] of the recording belongs to it.
    bool holds(double time) const;
};

}  // namespace katessel
