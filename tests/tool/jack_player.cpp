// Plays a steady tone into a JACK server: jack-player FREQUENCY. Its port is player:out; ends with the server or a signal.
#include <jack/jack.h>
#include <signal.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

namespace {

struct Player {
    jack_port_t* port = nullptr;
    double step = 0.0;   // [turns per sample]
    double phase = 0.0;  // [turns]
};

int play(jack_nframes_t count, void* data) {
    Player& player = *static_cast<Player*>(data);
    float* const out = static_cast<float*>(jack_port_get_buffer(player.port, count));
    for (jack_nframes_t i = 0; i < count; ++i) {
        double sum = 0.0;
        for (int h = 1; h <= 6; ++h) sum += 0.2 / h * std::sin(2.0 * std::numbers::pi * h * player.phase);
        out[i] = static_cast<float>(sum);
        player.phase += player.step;
        player.phase -= std::floor(player.phase);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    sigprocmask(SIG_BLOCK, &end, nullptr);  // for all threads
    jack_client_t* const client = jack_client_open("player", JackNoStartServer, nullptr);
    if (client == nullptr) return 1;
    Player player;
    player.step = std::atof(argv[1]) / jack_get_sample_rate(client);
    player.port = jack_port_register(client, "out", JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0);
    jack_set_process_callback(client, &play, &player);
    jack_on_shutdown(
        client, [](void*) { kill(getpid(), SIGTERM); }, nullptr);
    if (player.port == nullptr || jack_activate(client) != 0) return 1;
    std::puts("playing");
    std::fflush(stdout);
    int signal = 0;
    sigwait(&end, &signal);
    jack_client_close(client);
    return 0;
}
