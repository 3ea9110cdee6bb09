#include "tracking/StreamPlan.h"

#include <cmath>
#include <numeric>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

namespace {

constexpr int kWindow = 1024;         // [samples at 24 kHz] one frame
constexpr int kNetworkLag = 4;        // [frames]
constexpr int kNetworkField = 9;      // [frames] that one answer depends on
constexpr int kRing = 24000;          // [samples at 24 kHz] the engine's memory, of which one stays unused
constexpr int kResamplerDelay = 9;    // [samples at the host's rate]
constexpr int kLargestRateRatio = 10; // host rate / 24000 that the resampler takes
constexpr int kFirstInstant = kWindow / 2 - kNetworkLag * kHop;  // 32: the stream's sample that frame 0 is about

double ratioOf(int rate) { return static_cast<double>(rate) / kEngineRate; }

int delayOf(int rate) { return rate == kEngineRate ? 0 : kResamplerDelay; }

// What the engine makes of a block, in its own precision.
int outputOf(int rate, int blockSize) {
    if (rate == kEngineRate) return blockSize;
    const float ratio = static_cast<float>(rate) / static_cast<float>(kEngineRate);
    return static_cast<int>(static_cast<float>(blockSize) / ratio);
}

// Whether the engine makes whole samples of the whole block. Rounding in its division can leave it one short.
bool losesNothing(int rate, int blockSize) {
    return std::int64_t{outputOf(rate, blockSize)} * rate == std::int64_t{blockSize} * kEngineRate;
}

// The largest block that loses nothing and becomes at most one hop; 0: there is none.
int wholeBlock(int rate) {
    if (rate > kLargestRateRatio * kEngineRate) return 0;
    const int step = rate / std::gcd(rate, kEngineRate);
    int size = static_cast<int>(kHop * ratioOf(rate)) / step * step;
    while (size > 0 && !losesNothing(rate, size)) size -= step;
    return size;
}

}  // namespace

bool StreamPlan::streamsWhole(int rate) { return wholeBlock(rate) > 0; }

StreamPlan StreamPlan::forGrid(int rate) { return StreamPlan(rate, wholeBlock(rate)); }

StreamPlan StreamPlan::forLeastDelay(int rate) {
    int size = 1;
    while (!losesNothing(rate, size)) ++size;
    return StreamPlan(rate, size);
}

StreamPlan StreamPlan::forHostBlocks(int rate, int blockSize) { return StreamPlan(rate, blockSize); }

int StreamPlan::smallestBlock(int rate) {
    int size = static_cast<int>(ratioOf(rate));
    while (outputOf(rate, size) < 1) ++size;
    return size;
}

int StreamPlan::largestBlock(int rate) {
    if (rate > kLargestRateRatio * kEngineRate) return 0;
    // A call may find all but one sample of a frame waiting.
    constexpr int room = kRing - 1 - (kWindow - 1);
    return static_cast<int>(room * ratioOf(rate));
}

StreamPlan::StreamPlan(int rate, int blockSize)
    : m_rate(rate),
      m_blockSize(blockSize),
      m_blockOutput(outputOf(rate, blockSize)),
      m_lossless(losesNothing(rate, blockSize)) {
    const auto leadFor = [&](int frames) { return (kFirstInstant + frames * kHop) * ratioOf(rate) - delayOf(rate); };
    m_leadFrames = kNetworkField - 1;
    while (leadFor(m_leadFrames) < 0.0) ++m_leadFrames;  // below 220 Hz
    m_lead = static_cast<int>(std::lround(leadFor(m_leadFrames)));
}

std::int64_t StreamPlan::framesAfter(std::int64_t blocks) const {
    const std::int64_t passed = blocks * m_blockOutput;
    return passed < kWindow ? 0 : (passed - kWindow) / kHop + 1;
}

double StreamPlan::instantOf(std::int64_t frame) const {
    // Exact on the grid: the lead's rounding, at most half a sample, is left out.
    if (m_lossless) return static_cast<double>(frame - m_leadFrames) * kHopSeconds;
    const std::int64_t sample = frame * kHop + kFirstInstant;
    const double position = static_cast<double>(sample / m_blockOutput * m_blockSize) +
                            static_cast<double>(sample % m_blockOutput) * ratioOf(m_rate);
    return (position - delayOf(m_rate) - m_lead) / m_rate;
}

}  // namespace katessel
