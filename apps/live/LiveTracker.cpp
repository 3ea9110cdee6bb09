#include "apps/live/LiveTracker.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "katessel/KTessel.h"
#include "recordings/base/Errors.h"

namespace katessel {

namespace {

StreamPlan planFor(int rate) {
    if (StreamPlan::streamsWhole(rate)) return StreamPlan::forLeastDelay(rate);
    // Some samples are lost, and the times are right all the same.
    const int smallest = StreamPlan::smallestBlock(rate);
    if (StreamPlan::largestBlock(rate) < smallest)
        fail("cannot listen", "the sample rate", "at most 240000 Hz", std::to_string(rate) + " Hz");
    return StreamPlan::forHostBlocks(rate, std::max(static_cast<int>(rate * kHopSeconds), smallest));
}

}  // namespace

void LiveTracker::start(const LiveBlock& block) {
    m_plan = planFor(block.rate);
    m_engine = {KTessel_Create(), &KTessel_Destroy};
    if (KTessel_Configure(m_plan->rate(), 0, m_plan->blockSize(), m_model.c_str(), m_engine.get()) != 0)
        fail("cannot load the model", m_model, "a weight file", "none");
    m_queue.assign(static_cast<std::size_t>(m_plan->leadSamples()), 0.0f);
    m_blocks = 0;
    m_received = 0;
    m_startClock = block.clock;
}

void LiveTracker::process(const LiveBlock& block, const std::vector<float>& samples,
                          const std::function<void(const LiveRow&)>& onRow) {
    if (!m_plan) start(block);
    const double received = static_cast<double>(m_received) / m_plan->rate();  // [s]
    // Unsigned, so that the difference is right where the clock wraps around.
    const auto missing = static_cast<std::int32_t>(block.clock - (m_startClock + static_cast<std::uint32_t>(m_received)));
    std::size_t known = 0;  // samples whose place is taken
    if (block.rate != m_plan->rate()) {
        m_startTime += received;
        start(block);
    } else if (std::abs(missing) > block.rate) {
        m_startTime += received + static_cast<double>(std::max(missing, 0)) / block.rate;
        start(block);
    } else if (missing >= 0) {
        enqueue(std::vector<float>(static_cast<std::size_t>(missing), 0.0f), 0);
    } else {
        // A period that came late carries the time of the next one.
        known = std::min(static_cast<std::size_t>(-missing), samples.size());
    }
    enqueue(samples, known);
    processQueue(onRow);
}

void LiveTracker::enqueue(const std::vector<float>& samples, std::size_t from) {
    m_queue.insert(m_queue.end(), samples.begin() + static_cast<std::ptrdiff_t>(from), samples.end());
    m_received += static_cast<std::int64_t>(samples.size() - from);
}

void LiveTracker::processQueue(const std::function<void(const LiveRow&)>& onRow) {
    const auto size = static_cast<std::size_t>(m_plan->blockSize());
    std::size_t used = 0;
    for (; used + size <= m_queue.size(); used += size) {
        LiveRow row;
        KTessel_DoProcess(m_queue.data() + used, m_plan->blockSize(), &row.pitch.frequency, &row.pitch.confidence, 0,
                          m_engine.get());
        const std::int64_t before = m_plan->framesAfter(m_blocks++);
        const std::int64_t frames = m_plan->framesAfter(m_blocks);
        if (frames == before) continue;
        const double instant = m_plan->instantOf(frames - 1);
        if (instant < 0.0) continue;
        row.pitch.time = m_startTime + instant;
        row.rate = m_plan->rate();
        row.clock = m_startClock + static_cast<std::uint32_t>(std::llround(instant * row.rate));
        onRow(row);
    }
    m_queue.erase(m_queue.begin(), m_queue.begin() + static_cast<std::ptrdiff_t>(used));
}

double LiveTracker::engineLatency() const {
    if (!m_plan) return 0.0;
    // A frame is heard of once the block is there that completes it; how much later that is repeats after a while.
    constexpr std::int64_t kFramesThatShowIt = 300;
    double most = 0.0;
    for (std::int64_t blocks = 1, before = 0; before < kFramesThatShowIt; ++blocks) {
        const std::int64_t frames = m_plan->framesAfter(blocks);
        if (frames == before) continue;
        const double end = static_cast<double>(blocks * m_plan->blockSize() - m_plan->leadSamples()) / m_plan->rate();
        most = std::max(most, end - m_plan->instantOf(frames - 1));
        before = frames;
    }
    return most;
}

}  // namespace katessel
