#include "apps/live/LiveTracker.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "recordings/base/Errors.h"

namespace katessel {

void LiveTracker::start(const LiveBlock& block) {
    using KaTessel::Tracker;
    if (block.rate < Tracker::kLowestRate || block.rate > Tracker::kHighestRate)
        fail("cannot listen", "the sample rate",
             std::to_string(Tracker::kLowestRate) + " to " + std::to_string(Tracker::kHighestRate) + " Hz",
             std::to_string(block.rate) + " Hz");
    if (m_tracker && m_tracker->rate() == block.rate)
        m_tracker->reset();
    else
        m_tracker.emplace(block.rate, m_model);
    m_received = 0;
    m_startClock = block.clock;
}

void LiveTracker::process(const LiveBlock& block, const std::vector<float>& samples, const OnRow& onRow) {
    if (!m_tracker) start(block);
    const double received = static_cast<double>(m_received) / m_tracker->rate();  // [s]
    // Unsigned, so that the difference is right where the clock wraps around.
    const auto missing =
        static_cast<std::int32_t>(block.clock - (m_startClock + static_cast<std::uint32_t>(m_received)));
    std::ptrdiff_t known = 0;  // samples whose place is taken
    if (block.rate != m_tracker->rate()) {
        m_startTime += received;
        start(block);
    } else if (std::abs(missing) > block.rate) {
        m_startTime += received + static_cast<double>(std::max(missing, 0)) / block.rate;
        start(block);
    } else if (missing >= 0) {
        track(std::vector<float>(static_cast<std::size_t>(missing), 0.0f), onRow);
    } else {
        // A period that came late carries the time of the next one.
        known = std::min<std::ptrdiff_t>(-missing, std::ssize(samples));
    }
    track({samples.begin() + known, samples.end()}, onRow);
}

void LiveTracker::track(std::vector<float> samples, const OnRow& onRow) {
    // What the tracker would refuse.
    const auto isBad = [](float sample) { return !(std::fabs(sample) <= KaTessel::Tracker::kLargestSample); };
    if (std::any_of(samples.begin(), samples.end(), isBad)) std::fill(samples.begin(), samples.end(), 0.0f);
    m_received += std::ssize(samples);
    const int rate = m_tracker->rate();
    m_tracker->process(samples, [&](const KaTessel::Pitch& pitch) {
        const auto clock = m_startClock + static_cast<std::uint32_t>(std::llround(pitch.time * rate));
        onRow({{m_startTime + pitch.time, pitch.frequency, pitch.confidence}, clock, rate});
    });
}

double LiveTracker::engineLatency() const {
    return m_tracker ? static_cast<double>(m_tracker->latency()) / m_tracker->rate() : 0.0;
}

}  // namespace katessel
