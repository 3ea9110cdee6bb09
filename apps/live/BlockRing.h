// Blocks of sound on their way from the thread that brings them, which must not be held up, to the one that reads them.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <vector>

#include "apps/live/LiveBlock.h"

namespace katessel {

// Values from one thread to one other, in their order; no lock, and no memory after it was made.
template <typename Value>
class Ring {
public:
    explicit Ring(std::size_t size) : m_values(size) {}  // a power of two

    // Of the thread that writes; it writes no more than there is room for.
    std::size_t room() const { return m_values.size() - (m_written - m_taken.load(std::memory_order_acquire)); }
    void write(const Value* from, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) m_values[place(m_written + i)] = from[i];
        m_written.store(m_written + count, std::memory_order_release);
    }

    // Of the thread that reads; it reads no more than is there.
    std::size_t held() const { return m_written.load(std::memory_order_acquire) - m_taken; }
    void read(Value* to, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) to[i] = m_values[place(m_taken + i)];
        m_taken.store(m_taken + count, std::memory_order_release);
    }

    const std::vector<Value>& values() const { return m_values; }

private:
    std::size_t place(std::size_t count) const { return count & (m_values.size() - 1); }

    std::vector<Value> m_values;
    std::atomic<std::size_t> m_written = 0, m_taken = 0;  // since the beginning
};

class BlockRing {
public:
    BlockRing();
    ~BlockRing();
    BlockRing(const BlockRing&) = delete;
    BlockRing& operator=(const BlockRing&) = delete;

    // Of the thread that brings sound; neither waits nor allocates. A block that finds no room is dropped, and counted.
    void push(const LiveBlock& block, const float* samples);

    // Ends the reader's waiting without a block.
    void wake() { sem_post(&m_arrived); }

    // The next block, its samples in `samples`, after waiting for it up to `seconds`.
    std::optional<LiveBlock> pop(std::vector<float>& samples, double seconds);

    std::int64_t dropped() const { return m_dropped; }  // [samples]

private:
    std::optional<LiveBlock> take(std::vector<float>& samples);

    Ring<float> m_samples;
    Ring<LiveBlock> m_blocks;  // a block comes after its samples
    sem_t m_arrived;           // raised by every block
    std::atomic<std::int64_t> m_dropped = 0;
};

}  // namespace katessel
