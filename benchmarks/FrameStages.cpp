// A streaming frame at 24 kHz, whole and stage by stage; x_real_time is 5 ms divided by the time per frame.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "katessel/KTessel.h"
#include "katessel/KaTessel.h"

namespace {

constexpr double kFrameSeconds = 0.005;

// A voice-like tone: 20 harmonics of 140 Hz with a slow vibrato.
std::vector<float> voice(int samples) {
    std::vector<float> x(static_cast<std::size_t>(samples));
    double phase = 0.0;
    for (int i = 0; i < samples; ++i) {
        const double seconds = i / 24000.0;
        phase += 6.283185307179586 * (140.0 + 5.0 * std::sin(30.0 * seconds)) / 24000.0;
        double sum = 0.0;
        for (int h = 1; h <= 20; ++h) sum += std::sin(h * phase) / h;
        x[static_cast<std::size_t>(i)] = static_cast<float>(0.1 * sum);
    }
    return x;
}

void reportRealTime(benchmark::State& state) {
    state.counters["x_real_time"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kFrameSeconds, benchmark::Counter::kIsRate);
}

// An engine that has heard a second of voice, so that every buffer is made and every cache is warm.
struct WarmEngine {
    WarmEngine() : sound(voice(24000)) {
        engine.configure(24000, 0, 120, KATESSEL_MODEL);
        for (int i = 0; i < 200; ++i) engine.doProcess(sound.data() + 120 * i, 120, &f0, &confidence, 0);
    }
    KaTessel::CTessel engine;
    std::vector<float> sound;
    std::vector<float> features = std::vector<float>(150);
    float f0 = 0.0f, confidence = 0.0f;
};

void streamingFrame(benchmark::State& state) {
    WarmEngine warm;
    int hop = 0;
    for (auto _ : state) {
        warm.engine.doProcess(warm.sound.data() + 120 * hop, 120, &warm.f0, &warm.confidence, 0);
        benchmark::DoNotOptimize(warm.f0);
        hop = (hop + 1) % 200;
    }
    reportRealTime(state);
}
BENCHMARK(streamingFrame)->Unit(benchmark::kMicrosecond);

void spectrumStage(benchmark::State& state) {
    WarmEngine warm;
    for (auto _ : state) {
        warm.engine.spectrumStage(warm.engine.frame);
        benchmark::DoNotOptimize(warm.engine.magnitude[100]);
    }
}
BENCHMARK(spectrumStage)->Unit(benchmark::kMicrosecond);

void bandStage(benchmark::State& state) {
    WarmEngine warm;
    for (auto _ : state) {
        warm.engine.bandStage(warm.features.data());
        benchmark::DoNotOptimize(warm.features.data());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(bandStage)->Unit(benchmark::kMicrosecond);

void networkStage(benchmark::State& state) {
    WarmEngine warm;
    warm.engine.bandStage(warm.features.data());
    for (auto _ : state) {
        warm.engine.networkStage(warm.features.data());
        benchmark::DoNotOptimize(warm.engine.encoder->skipSum[0]);
    }
    state.counters["MMAC/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * 0.1239, benchmark::Counter::kIsRate);
}
BENCHMARK(networkStage)->Unit(benchmark::kMicrosecond);

void headStage(benchmark::State& state) {
    WarmEngine warm;
    for (auto _ : state) {
        warm.engine.headStage();
        benchmark::DoNotOptimize(warm.engine.headOut[0]);
    }
}
BENCHMARK(headStage)->Unit(benchmark::kMicrosecond);

void configure(benchmark::State& state) {
    for (auto _ : state) {
        void* handle = KTessel_Create();
        benchmark::DoNotOptimize(KTessel_Configure(48000, 0, 480, KATESSEL_MODEL, handle));
        KTessel_Destroy(handle);
    }
}
BENCHMARK(configure)->Unit(benchmark::kMillisecond);

}  // namespace
