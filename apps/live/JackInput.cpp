#include "apps/live/JackInput.h"

#include <time.h>

#include <cmath>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr char kCannotListen[] = "cannot listen";
constexpr std::size_t kRingBytes = std::size_t{1} << 22;  // 5 s at 192 kHz

using Ports = std::unique_ptr<const char*, void (*)(void*)>;

void ignoreMessage(const char*) {}

jack_client_t* join() {
    // The library would print what goes wrong in words of its own.
    jack_set_error_function(&ignoreMessage);
    jack_set_info_function(&ignoreMessage);
    jack_status_t status = {};
    jack_client_t* const client = jack_client_open("katessel", JackNoStartServer, &status);
    if (client == nullptr)
        fail(kCannotListen, "JACK", "a running server",
             (status & JackServerFailed) != 0 ? "none" : "one that refuses, status " + std::to_string(status));
    return client;
}

std::vector<std::string> portsOf(jack_client_t* client, unsigned long flags) {
    const Ports names(jack_get_ports(client, nullptr, JACK_DEFAULT_AUDIO_TYPE, flags), &jack_free);
    std::vector<std::string> ports;
    for (const char* const* name = names.get(); name != nullptr && *name != nullptr; ++name) ports.emplace_back(*name);
    return ports;
}

std::string listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text.append(text.empty() ? "" : ", ").append(name);
    return text.empty() ? "none" : text;
}

}  // namespace

JackInput::JackInput(const std::string& source)
    : m_ring(jack_ringbuffer_create(kRingBytes), &jack_ringbuffer_free), m_client(join(), &jack_client_close) {
    if (!m_ring) fail(kCannotListen, "JACK", "room for a buffer", "none");
    jack_ringbuffer_mlock(m_ring.get());
    sem_init(&m_arrived, 0, 0);
    jack_client_t* const client = m_client.get();
    m_rate = static_cast<int>(jack_get_sample_rate(client));
    m_port = jack_port_register(client, "input", JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0);
    jack_set_process_callback(client, &JackInput::onProcess, this);
    jack_set_sample_rate_callback(client, &JackInput::onRate, this);
    jack_set_xrun_callback(client, &JackInput::onXrun, this);
    jack_on_shutdown(client, &JackInput::onShutdown, this);
    if (m_port == nullptr || jack_activate(client) != 0)
        fail(kCannotListen, "JACK", "a server that takes one more port", "one that does not");
    connect(source);
}

void JackInput::connect(const std::string& source) {
    jack_client_t* const client = m_client.get();
    m_source = source;
    if (source.empty()) {
        const std::vector<std::string> physical = portsOf(client, JackPortIsOutput | JackPortIsPhysical);
        if (physical.empty())
            fail(kCannotListen, "JACK", "a port with sound from outside, or one of others with --port",
                 listed(portsOf(client, JackPortIsOutput)));
        m_source = physical.front();
    }
    if (jack_connect(client, m_source.c_str(), jack_port_name(m_port)) != 0)
        fail(kCannotListen, "--port", "one of " + listed(portsOf(client, JackPortIsOutput)), m_source);
}

std::vector<std::string> JackInput::sources() {
    const std::unique_ptr<jack_client_t, int (*)(jack_client_t*)> client(join(), &jack_client_close);
    return portsOf(client.get(), JackPortIsOutput);
}

// The server's thread: nothing here waits or allocates.
int JackInput::onProcess(jack_nframes_t count, void* self) {
    JackInput& input = *static_cast<JackInput*>(self);
    const LiveBlock block = {jack_last_frame_time(input.m_client.get()), count, input.m_rate};
    const std::size_t bytes = count * sizeof(float);
    if (jack_ringbuffer_write_space(input.m_ring.get()) < sizeof block + bytes) {
        input.m_dropped += count;
        return 0;
    }
    jack_ringbuffer_write(input.m_ring.get(), reinterpret_cast<const char*>(&block), sizeof block);
    jack_ringbuffer_write(input.m_ring.get(), static_cast<const char*>(jack_port_get_buffer(input.m_port, count)),
                          bytes);
    sem_post(&input.m_arrived);
    return 0;
}

int JackInput::onRate(jack_nframes_t rate, void* self) {
    static_cast<JackInput*>(self)->m_rate = static_cast<int>(rate);
    return 0;
}

int JackInput::onXrun(void* self) {
    ++static_cast<JackInput*>(self)->m_xruns;
    return 0;
}

void JackInput::onShutdown(void* self) {
    static_cast<JackInput*>(self)->m_hasEnded = true;
    sem_post(&static_cast<JackInput*>(self)->m_arrived);
}

int JackInput::period() const { return static_cast<int>(jack_get_buffer_size(m_client.get())); }

int JackInput::portLatency() const {
    jack_latency_range_t range = {};
    jack_port_get_latency_range(m_port, JackCaptureLatency, &range);
    return static_cast<int>(range.max);
}

std::uint32_t JackInput::now() const { return jack_frame_time(m_client.get()); }

std::optional<LiveBlock> JackInput::readRing(std::vector<float>& samples) {
    LiveBlock block;
    char* const to = reinterpret_cast<char*>(&block);
    if (jack_ringbuffer_peek(m_ring.get(), to, sizeof block) < sizeof block) return std::nullopt;
    // The block's samples may still be on their way.
    const std::size_t bytes = block.count * sizeof(float);
    if (jack_ringbuffer_read_space(m_ring.get()) < sizeof block + bytes) return std::nullopt;
    jack_ringbuffer_read_advance(m_ring.get(), sizeof block);
    samples.resize(block.count);
    jack_ringbuffer_read(m_ring.get(), reinterpret_cast<char*>(samples.data()), bytes);
    return block;
}

std::optional<LiveBlock> JackInput::next(std::vector<float>& samples, double seconds) {
    std::optional<LiveBlock> block = readRing(samples);
    if (block) return block;
    timespec until = {};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const double second = static_cast<double>(until.tv_nsec) * 1e-9 + seconds;
    until.tv_sec += static_cast<time_t>(second);
    until.tv_nsec = static_cast<long>((second - std::floor(second)) * 1e9);
    sem_clockwait(&m_arrived, CLOCK_MONOTONIC, &until);  // sooner, after a signal or for a block that was taken already
    return readRing(samples);
}

}  // namespace katessel
