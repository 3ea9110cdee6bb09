#include "apps/live/JackInput.h"

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

using Client = std::unique_ptr<jack_client_t, int (*)(jack_client_t*)>;
using Ports = std::unique_ptr<const char*, void (*)(void*)>;

void ignoreMessage(const char*) {}

Client tryToJoin(jack_status_t& status) {
    // The library would print what goes wrong in words of its own.
    jack_set_error_function(&ignoreMessage);
    jack_set_info_function(&ignoreMessage);
    return {jack_client_open("katessel", JackNoStartServer, &status), &jack_client_close};
}

Client join() {
    jack_status_t status = {};
    Client client = tryToJoin(status);
    if (!client)
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

JackInput::JackInput(const std::string& source) : m_client(join()) {
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

bool JackInput::hasServer() {
    jack_status_t status = {};
    return tryToJoin(status) != nullptr;
}

std::vector<std::string> JackInput::sources() { return portsOf(join().get(), JackPortIsOutput); }

// The server's thread: nothing here waits or allocates.
int JackInput::onProcess(jack_nframes_t count, void* self) {
    JackInput& input = *static_cast<JackInput*>(self);
    input.arrived({jack_last_frame_time(input.m_client.get()), count, input.m_rate},
                  static_cast<const float*>(jack_port_get_buffer(input.m_port, count)));
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

void JackInput::onShutdown(void* self) { static_cast<JackInput*>(self)->ended(); }

int JackInput::period() const { return static_cast<int>(jack_get_buffer_size(m_client.get())); }

int JackInput::sourceLatency() const {
    jack_latency_range_t range = {};
    jack_port_get_latency_range(m_port, JackCaptureLatency, &range);
    return static_cast<int>(range.max);
}

std::uint32_t JackInput::now() const { return jack_frame_time(m_client.get()); }

}  // namespace katessel
