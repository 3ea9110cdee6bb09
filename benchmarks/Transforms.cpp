// The real transform by length, and the resampler per output sample.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "katessel/CKaResample.h"
#include "katessel/MRSpectrum.h"

namespace {

void realTransform(benchmark::State& state) {
    KaTessel::MRSpectrum spectrum;
    const int n = static_cast<int>(state.range(0));
    std::vector<float> signal(static_cast<std::size_t>(n)), work;
    for (int i = 0; i < n; ++i) signal[static_cast<std::size_t>(i)] = std::sin(0.1f * static_cast<float>(i));
    for (auto _ : state) {
        work = signal;
        spectrum.rFFT(work.data(), n);
        benchmark::DoNotOptimize(work.data());
    }
}
BENCHMARK(realTransform)->RangeMultiplier(4)->Range(64, 65536)->Unit(benchmark::kMicrosecond);

void resample48kHzHop(benchmark::State& state) {
    KaResample::CKaResample resampler;
    resampler.configure(240);
    std::vector<float> in(240, 0.5f), out(120);
    for (auto _ : state) {
        resampler.doProcess(in.data(), out.data(), 2.0f, 120);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(resample48kHzHop)->Unit(benchmark::kMicrosecond);

}  // namespace
