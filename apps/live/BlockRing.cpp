#include "apps/live/BlockRing.h"

#include <sys/mman.h>
#include <time.h>

#include <cmath>

namespace katessel {

namespace {

constexpr std::size_t kSamples = std::size_t{1} << 20;  // 5 s at 192 kHz
constexpr std::size_t kBlocks = std::size_t{1} << 16;   // the same in periods of 16 samples

// So that no page of it has to be fetched while sound comes in; where the system allows that.
template <typename Value>
void keepInMemory(const Ring<Value>& ring) {
    static_cast<void>(::mlock(ring.values().data(), ring.values().size() * sizeof(Value)));
}

}  // namespace

BlockRing::BlockRing() : m_samples(kSamples), m_blocks(kBlocks) {
    keepInMemory(m_samples);
    keepInMemory(m_blocks);
    sem_init(&m_arrived, 0, 0);
}

BlockRing::~BlockRing() { sem_destroy(&m_arrived); }

void BlockRing::push(const LiveBlock& block, const float* samples) {
    if (m_samples.room() < block.count || m_blocks.room() < 1) {
        m_dropped += block.count;
        return;
    }
    m_samples.write(samples, block.count);
    m_blocks.write(&block, 1);
    sem_post(&m_arrived);
}

std::optional<LiveBlock> BlockRing::take(std::vector<float>& samples) {
    if (m_blocks.held() < 1) return std::nullopt;
    LiveBlock block;
    m_blocks.read(&block, 1);
    samples.resize(block.count);
    m_samples.read(samples.data(), block.count);
    return block;
}

std::optional<LiveBlock> BlockRing::pop(std::vector<float>& samples, double seconds) {
    std::optional<LiveBlock> block = take(samples);
    if (block) return block;
    timespec until = {};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const double second = static_cast<double>(until.tv_nsec) * 1e-9 + seconds;
    until.tv_sec += static_cast<time_t>(second);
    until.tv_nsec = static_cast<long>((second - std::floor(second)) * 1e9);
    sem_clockwait(&m_arrived, CLOCK_MONOTONIC, &until);  // sooner, after a signal or for a block that was taken already
    return take(samples);
}

}  // namespace katessel
