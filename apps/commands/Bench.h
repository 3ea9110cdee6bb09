// `katessel bench`: what a frame costs on this machine.
#pragma once

#include <string>

namespace katessel {

struct BenchOptions {
    std::string model;      // empty: the default model
    int rate = 48000;       // [Hz] of the stream
    double seconds = 10.0;  // length of the measured sound
};

void runBench(const BenchOptions& options);

}  // namespace katessel
