// `katessel bench`: what a frame costs on this machine.
#ifndef KATESSEL_APPS_BENCH_H
#define KATESSEL_APPS_BENCH_H

#include <string>

struct BenchOptions {
    std::string model;      // empty: the default model
    int rate = 48000;       // [Hz] of the stream
    double seconds = 10.0;  // length of the measured sound
};

void runBench(const BenchOptions& options);

#endif
