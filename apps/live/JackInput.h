// One input port of the JACK server, read without holding up the server's thread.
#pragma once

#include <jack/jack.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "apps/live/LiveInput.h"

namespace katessel {

class JackInput final : public LiveInput {
public:
    // Joins the running server, and listens to `source`; an empty name is the first port with sound from outside.
    // Fails when there is no server or no such port.
    explicit JackInput(const std::string& source);

    int period() const override;
    int sourceLatency() const override;  // of the port
    std::uint32_t now() const override;

    static bool hasServer();

    // Names of all output ports.
    static std::vector<std::string> sources();

private:
    static int onProcess(jack_nframes_t count, void* self);
    static int onRate(jack_nframes_t rate, void* self);
    static int onXrun(void* self);
    static void onShutdown(void* self);
    void connect(const std::string& source);

    std::unique_ptr<jack_client_t, int (*)(jack_client_t*)> m_client;
    jack_port_t* m_port = nullptr;  // belongs to the client
};

}  // namespace katessel
