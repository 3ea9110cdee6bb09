// Whole recordings: a minute of voice, whole and stage by stage, and the sequence convolution against a plain triple
// loop compiled with the same options, in one run.
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "engine/FeatureBatch.h"
#include "engine/SignalReader.h"
#include "katessel/KTessel.h"
#include "katessel/KaTessel.h"
#include "nn/WaveNet2Sequence.h"

namespace {

constexpr int kSeconds = 60;
constexpr int kHop = 120;
constexpr int kFrames = 504;

std::vector<float> voice(int rate, int seconds) {
    std::vector<float> x(static_cast<std::size_t>(rate * seconds));
    for (std::size_t i = 0; i < x.size(); ++i) {
        const double phase = 6.283185307179586 * std::fmod(150.0 * static_cast<double>(i) / rate, 1.0);
        double sum = 0.0;
        for (int h = 1; h <= 10; ++h) sum += std::sin(h * phase) / h;
        x[i] = static_cast<float>(0.1 * sum);
    }
    return x;
}

// Per frame of 5 ms.
void reportFrames(benchmark::State& state, double frames) {
    const double total = frames * static_cast<double>(state.iterations());
    state.counters["per_frame"] = benchmark::Counter(total, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["x_real_time"] = benchmark::Counter(total * 0.005, benchmark::Counter::kIsRate);
}

void offlineMinute(benchmark::State& state) {
    const int rate = static_cast<int>(state.range(0));
    const std::vector<float> sound = voice(rate, kSeconds);
    std::vector<float> f0(200 * kSeconds + 1), confidence(200 * kSeconds + 1);
    KaTessel::CTessel engine;
    engine.configure(rate, 0, 480, KATESSEL_MODEL);
    for (auto _ : state) {
        engine.doProcessOffline(sound.data(), static_cast<int>(sound.size()), f0.data(), confidence.data(), 0);
        benchmark::DoNotOptimize(f0.data());
        benchmark::ClobberMemory();
    }
    reportFrames(state, 200.0 * kSeconds);
}
BENCHMARK(offlineMinute)->Arg(24000)->Arg(48000)->Unit(benchmark::kMillisecond);

struct Segment {
    Segment() : sound(voice(24000, 3)), features(), result() { engine.configure(24000, 0, 120, KATESSEL_MODEL); }
    KaTessel::CTessel engine;
    std::vector<float> sound;
    KaTessel::FrameBlock features, result;
};

void offlineFeatures(benchmark::State& state) {
    Segment segment;
    const auto model = KaTessel::EngineModel::of(segment.engine);
    KaTessel::FeatureBatch batch(*model);
    segment.features.reset(kFrames, 150);
    for (auto _ : state) {
        for (int f = 0; f < kFrames; f += batch.framesAtOnce())
            batch.process(segment.sound.data() + f * kHop, kHop, std::min(batch.framesAtOnce(), kFrames - f),
                          segment.features.frame(f));
        benchmark::DoNotOptimize(segment.features.frame(0));
        benchmark::ClobberMemory();
    }
    reportFrames(state, kFrames);
}
BENCHMARK(offlineFeatures)->Unit(benchmark::kMicrosecond);

void offlineNetwork(benchmark::State& state) {
    Segment segment;
    const KaTessel::PackedNetwork packed(*KaTessel::kernels::active, *segment.engine.encoder);
    KaTessel::SequenceNetwork network(packed);
    segment.features.reset(kFrames, 150, network.padding());
    std::mt19937 random(2);
    std::normal_distribution<float> normal;
    for (long i = 0; i < segment.features.size(); ++i) segment.features.frame(0)[i] = normal(random);
    for (auto _ : state) {
        network.process(segment.features, segment.result);
        benchmark::DoNotOptimize(segment.result.frame(0));
        benchmark::ClobberMemory();
    }
    reportFrames(state, kFrames);
}
BENCHMARK(offlineNetwork)->Unit(benchmark::kMicrosecond);

void conversionFrom48kHz(benchmark::State& state) {
    const std::vector<float> sound = voice(48000, 3);
    KaResample::CKaResample filter;
    std::vector<float> out(kHop);
    for (auto _ : state) {
        KaTessel::SignalReader reader(sound.data(), static_cast<int>(sound.size()), 2.0f, filter);
        for (long f = 0; f < 600; ++f) reader.read(f * kHop, kHop, out.data());
        benchmark::DoNotOptimize(out.data());
    }
    reportFrames(state, 600.0);
}
BENCHMARK(conversionFrom48kHz)->Unit(benchmark::kMicrosecond);

// One dilated layer of the encoder over a segment.
constexpr int kChannels = 70, kTaps = 3;

struct SequenceConvolution {
    SequenceConvolution() : weights(kTaps * kChannels * kChannels), bias(kChannels) {
        std::mt19937 random(1);
        std::normal_distribution<float> normal;
        for (float& w : weights) w = normal(random);
        in.reset(kFrames, kChannels, 2);
        for (long i = 0; i < in.size(); ++i) in.frame(0)[i] = normal(random);
    }
    std::vector<float> weights, bias;
    KaTessel::FrameBlock in, out;
};

void sequenceConvolution(benchmark::State& state) {
    SequenceConvolution c;
    const KaTessel::PackedLayer layer(*KaTessel::kernels::active, kTaps, kChannels,
                                      {{c.weights.data(), c.bias.data(), kChannels}});
    for (auto _ : state) {
        layer.apply(c.in, 1, c.out);
        benchmark::DoNotOptimize(c.out.frame(0));
        benchmark::ClobberMemory();
    }
    reportFrames(state, kFrames);
}
BENCHMARK(sequenceConvolution)->Unit(benchmark::kMicrosecond);

void sequenceConvolutionPlainLoops(benchmark::State& state) {
    SequenceConvolution c;
    c.in.replicateFirstFrame();
    c.out.reset(kFrames, kChannels);
    for (auto _ : state) {
        for (int t = 0; t + 1 < kFrames; ++t)
            for (int o = 0; o < kChannels; ++o) {
                float sum = c.bias[static_cast<std::size_t>(o)];
                for (int k = 0; k < kTaps; ++k)
                    for (int i = 0; i < kChannels; ++i)
                        sum += c.weights[static_cast<std::size_t>((k * kChannels + o) * kChannels + i)] *
                               c.in.frame(t + 1 - k)[i];
                c.out.frame(t)[o] = sum;
            }
        benchmark::DoNotOptimize(c.out.frame(0));
        benchmark::ClobberMemory();
    }
    reportFrames(state, kFrames);
}
BENCHMARK(sequenceConvolutionPlainLoops)->Unit(benchmark::kMicrosecond);

}  // namespace
