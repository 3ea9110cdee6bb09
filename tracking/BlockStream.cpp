#include "tracking/BlockStream.h"

#include <cmath>

#include "katessel/EngineFacts.hpp"

namespace katessel {

namespace {

namespace facts = KaTessel::facts;

double ratioOf(int rate) { return static_cast<double>(rate) / facts::kRate; }

int delayOf(int rate) { return rate == facts::kRate ? 0 : facts::kFilterDelay; }

// What the engine makes of a block, in its own precision.
int outputOf(int rate, int blockSize) {
    if (rate == facts::kRate) return blockSize;
    const float ratio = static_cast<float>(rate) / static_cast<float>(facts::kRate);
    return static_cast<int>(static_cast<float>(blockSize) / ratio);
}

}  // namespace

int BlockStream::smallestBlock(int rate) {
    int size = static_cast<int>(ratioOf(rate));
    while (outputOf(rate, size) < 1) ++size;
    return size;
}

int BlockStream::largestBlock(int rate) {
    if (rate > facts::kHighestRate) return 0;
    // A call may find all but one sample of a frame waiting.
    constexpr int room = facts::kRing - 1 - (facts::kWindow - 1);
    return static_cast<int>(room * ratioOf(rate));
}

BlockStream::BlockStream(int rate, int blockSize)
    : m_rate(rate), m_blockSize(blockSize), m_blockOutput(outputOf(rate, blockSize)), m_leadFrames(facts::kLeadFrames) {
    const auto leadFor = [&](int frames) {
        return (facts::kLiveInstant + frames * facts::kHop) * ratioOf(rate) - delayOf(rate);
    };
    while (leadFor(m_leadFrames) < 0.0) ++m_leadFrames;  // below 220 Hz
    m_lead = static_cast<int>(std::lround(leadFor(m_leadFrames)));
}

std::int64_t BlockStream::framesAfter(std::int64_t blocks) const {
    const std::int64_t passed = blocks * m_blockOutput;
    return passed < facts::kWindow ? 0 : (passed - facts::kWindow) / facts::kHop + 1;
}

double BlockStream::instantOf(std::int64_t frame) const {
    // Exact on the grid where no sample is lost: the lead's rounding, at most half a sample, is left out.
    if (std::int64_t{m_blockOutput} * m_rate == std::int64_t{m_blockSize} * facts::kRate)
        return static_cast<double>(frame - m_leadFrames) * facts::kHopSeconds;
    const std::int64_t sample = frame * facts::kHop + facts::kLiveInstant;
    const double position = static_cast<double>(sample / m_blockOutput * m_blockSize) +
                            static_cast<double>(sample % m_blockOutput) * ratioOf(m_rate);
    return (position - delayOf(m_rate) - m_lead) / m_rate;
}

}  // namespace katessel
