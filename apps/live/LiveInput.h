// Sound as it comes in: a microphone of the system, or a port of a JACK server.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/live/BlockRing.h"

namespace katessel {

// What the inputs have in common. A thread of their own calls arrived() for every block, and ended() where no more will come.
class LiveInput {
public:
    virtual ~LiveInput() = default;
    LiveInput(const LiveInput&) = delete;
    LiveInput& operator=(const LiveInput&) = delete;

    const std::string& source() const { return m_source; }
    int rate() const { return m_rate; }                          // [Hz]
    virtual int period() const = 0;                              // [samples] delivered at a time
    virtual int sourceLatency() const = 0;                       // [samples] from the sound to the clock, at most
    virtual std::uint32_t now() const = 0;                       // [samples] the clock of the blocks
    std::int64_t xruns() const { return m_xruns; }               // periods that the system lost
    std::int64_t dropped() const { return m_blocks.dropped(); }  // [samples] that came while nobody read
    bool hasEnded() const { return m_hasEnded; }

    // The next block, its samples in `samples`, after waiting for it up to `seconds`.
    std::optional<LiveBlock> next(std::vector<float>& samples, double seconds) {
        return m_blocks.pop(samples, seconds);
    }

protected:
    LiveInput() = default;
    void arrived(const LiveBlock& block, const float* samples) { m_blocks.push(block, samples); }
    void ended() {
        m_hasEnded = true;
        m_blocks.wake();
    }

    std::string m_source;
    std::atomic<int> m_rate = 0;
    std::atomic<std::int64_t> m_xruns = 0;

private:
    BlockRing m_blocks;
    std::atomic<bool> m_hasEnded = false;
};

constexpr char kCannotListen[] = "cannot listen";

struct LiveChoice {
    std::string port;    // of the JACK server
    std::string device;  // number in the list, name, or a part of one name; neither: what there is
};

// Fails where there is nothing to listen to, or not that.
std::unique_ptr<LiveInput> openInput(const LiveChoice& choice);

// A line for everything that can be listened to, as an option to copy. Fails where there is nothing.
std::vector<std::string> listInputs();

}  // namespace katessel
