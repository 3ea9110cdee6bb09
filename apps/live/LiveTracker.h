// The pitch of sound as it comes in, in blocks of any size with the time of their first sample: a tracker, and silence for
// what did not come.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/live/LiveBlock.h"
#include "katessel/Tracker.hpp"
#include "recordings/tracks/PitchTrack.h"

namespace katessel {

struct LiveRow {
    PitchRow pitch;           // its time counts from the first block's first sample on
    std::uint32_t clock = 0;  // [samples] of the instant that it is about
    int rate = 0;             // [Hz] of that clock
};

class LiveTracker {
public:
    using OnRow = std::function<void(const LiveRow&)>;

    explicit LiveTracker(std::string model) : m_model(std::move(model)) {}

    // Hands every row that the block completes to `onRow`. So that times stay true, up to a second that is missing before
    // the block is taken as silence, and samples for a time that has passed are dropped; after more than that, and
    // at another rate, the tracker starts anew. Fails at a rate that it cannot take. A block that holds something else than
    // numbers counts as silence.
    void process(const LiveBlock& block, const std::vector<float>& samples, const OnRow& onRow);

    // How far after a row's instant the sound ends that it waits for [s].
    double engineLatency() const;

private:
    void start(const LiveBlock& block);
    void track(std::vector<float> samples, const OnRow& onRow);

    std::string m_model;
    std::optional<KaTessel::Tracker> m_tracker;  // none before the first block
    std::int64_t m_received = 0;                 // [samples] since the start, missing ones included
    std::uint32_t m_startClock = 0;
    double m_startTime = 0.0;  // [s]
};

}  // namespace katessel
