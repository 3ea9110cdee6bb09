// The encoder's dilated convolution against a plain loop compiled with the same options, in one run.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "katessel/WaveNet2.h"

namespace {

constexpr int kChannels = 70, kTaps = 3;

struct Convolution {
    Convolution()
        : weights(kTaps * kChannels * kChannels),
          bias(kChannels),
          x(kChannels),
          history(2 * kChannels),
          out(kChannels) {
        std::mt19937 random(1);
        std::normal_distribution<float> normal;
        for (auto* values : {&weights, &bias, &x, &history})
            for (float& v : *values) v = normal(random);
    }
    std::vector<float> weights, bias, x, history, out;
};

void dilatedConvolution(benchmark::State& state) {
    Convolution c;
    for (auto _ : state) {
        KaTessel::WN2_conv1D(c.x.data(), c.history.data(), 0, 2 * kChannels, 1, c.out.data(), kTaps, c.weights.data(),
                             c.bias.data(), kChannels, kChannels);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(dilatedConvolution)->Unit(benchmark::kMicrosecond);

void dilatedConvolutionPlainLoop(benchmark::State& state) {
    Convolution c;
    const float* taps[kTaps] = {c.x.data(), c.history.data() + kChannels, c.history.data()};
    for (auto _ : state) {
        for (int o = 0; o < kChannels; ++o) {
            float sum = c.bias[static_cast<std::size_t>(o)];
            for (int k = 0; k < kTaps; ++k)
                for (int i = 0; i < kChannels; ++i)
                    sum += c.weights[static_cast<std::size_t>((k * kChannels + o) * kChannels + i)] * taps[k][i];
            c.out[static_cast<std::size_t>(o)] = sum;
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(dilatedConvolutionPlainLoop)->Unit(benchmark::kMicrosecond);

}  // namespace
