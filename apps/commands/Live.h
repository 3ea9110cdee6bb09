// `katessel live`: the pitch of a JACK port, now.
#pragma once

#include <optional>
#include <string>

namespace katessel {

struct LiveOptions {
    std::string port;                 // empty: the first with sound from outside
    bool list = false;                // only name the ports
    std::optional<std::string> csv;   // file of the track; "-": standard output; none: none
    std::optional<double> duration;   // [s]; none: until interrupted
    std::string model;                // empty: the default model
    std::optional<double> threshold;  // none: the model's own
};

void runLive(const LiveOptions& options);

}  // namespace katessel
