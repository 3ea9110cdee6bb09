// The pitch of sound as it comes in, in blocks of any size with the time of their first sample.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"
#include "tracking/StreamPlan.h"

namespace katessel {

struct LiveBlock {
    std::uint32_t clock = 0;  // [samples] when its first sample came; begins again after 2^32
    std::uint32_t count = 0;  // [samples]
    int rate = 0;             // [Hz]
};

struct LiveRow {
    PitchRow pitch;           // its time counts from the first block's first sample on
    std::uint32_t clock = 0;  // [samples] of the instant that it is about
    int rate = 0;             // [Hz] of that clock
};

class LiveTracker {
public:
    explicit LiveTracker(std::string model) : m_model(std::move(model)) {}

    // Hands every row that the block completes to `onRow`. So that times stay true, up to a second that is missing before
    // the block is taken as silence, and samples for a time that has passed are dropped; after more than that, and
    // at another rate, the engine starts anew. Fails at a rate that the engine cannot take.
    void process(const LiveBlock& block, const std::vector<float>& samples, const std::function<void(const LiveRow&)>& onRow);

    // How far after a row's instant the block of sound ends that completes it, at most [s].
    double engineLatency() const;

private:
    void start(const LiveBlock& block);
    void enqueue(const std::vector<float>& samples, std::size_t from);
    void processQueue(const std::function<void(const LiveRow&)>& onRow);

    std::string m_model;
    std::unique_ptr<void, void (*)(void*)> m_engine{nullptr, nullptr};
    std::optional<StreamPlan> m_plan;
    std::vector<float> m_queue;    // less than a block of the plan, between calls
    std::int64_t m_blocks = 0;     // of the plan, that the engine has processed
    std::int64_t m_received = 0;   // [samples] since the start, missing ones included
    std::uint32_t m_startClock = 0;
    double m_startTime = 0.0;      // [s]
};

}  // namespace katessel
