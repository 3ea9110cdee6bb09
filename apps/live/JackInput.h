// One input port of the JACK server, read without holding up the server's thread.
#pragma once

#include <jack/jack.h>
#include <jack/ringbuffer.h>
#include <semaphore.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/live/LiveTracker.h"

namespace katessel {

class JackInput {
public:
    // Joins the running server, and listens to `source`; an empty name is the first port with sound from outside.
    // Fails when there is no server or no such port.
    explicit JackInput(const std::string& source);
    JackInput(const JackInput&) = delete;
    JackInput& operator=(const JackInput&) = delete;

    const std::string& source() const { return m_source; }
    int rate() const { return m_rate; }                 // [Hz]
    int period() const;                                 // [samples] delivered at a time
    int portLatency() const;                            // [samples] from the sound to the port, at most
    std::uint32_t now() const;                          // [samples] the server's clock
    std::int64_t xruns() const { return m_xruns; }      // periods that the server lost
    std::int64_t dropped() const { return m_dropped; }  // samples that came while nobody read
    bool hasEnded() const { return m_hasEnded; }        // the server is gone

    // The next block, its samples in `samples`, after waiting for it up to `seconds`.
    std::optional<LiveBlock> next(std::vector<float>& samples, double seconds);

    // Names of all output ports.
    static std::vector<std::string> sources();

private:
    static int onProcess(jack_nframes_t count, void* self);
    static int onRate(jack_nframes_t rate, void* self);
    static int onXrun(void* self);
    static void onShutdown(void* self);
    std::optional<LiveBlock> readRing(std::vector<float>& samples);
    void connect(const std::string& source);

    std::string m_source;
    std::unique_ptr<jack_ringbuffer_t, void (*)(jack_ringbuffer_t*)> m_ring;  // blocks: a LiveBlock, then its samples
    sem_t m_arrived;                                                          // raised by every block
    std::atomic<int> m_rate = 0;
    std::atomic<std::int64_t> m_xruns = 0, m_dropped = 0;
    std::atomic<bool> m_hasEnded = false;
    std::unique_ptr<jack_client_t, int (*)(jack_client_t*)>
        m_client;                   // the last: it goes before what its callbacks use
    jack_port_t* m_port = nullptr;  // belongs to the client
};

}  // namespace katessel
