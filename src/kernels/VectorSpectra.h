// Convolutions of a spectrum along its bins.
#pragma once

#include <math.h>

#include "kernels/Kernels.h"
#include "kernels/Vectors.h"

namespace KaTessel::kernels {
namespace {

// Bins one vector wide: the vector holds kLanes / 2 bins, and every tap pair moves over the spectrum by one bin.
// kWide vectors at a time share the taps.
template <int kWide>
KATESSEL_INLINE void convolveBins(float* out, const float* spectrum, const float* kernel, int pairFloats) {
    Vec acc[std::size_t{kWide}] = {};
    for (int t = 0; t < pairFloats; t += 2) {
        const Vec tap = splat(kernel[t]);
        for (int v = 0; v < kWide; ++v) acc[v] += tap * load(spectrum + v * kLanes + t);
    }
    for (int v = 0; v < kWide; ++v) store(out + v * kLanes, acc[v]);
}

void convolvePairs(float* out, const float* spectrum, const float* kernel, int pairFloats, int bins) {
    constexpr int kWide = 4;
    constexpr int kBinsPerVector = kLanes / 2;
    int k = 0;
    for (; k + kWide * kBinsPerVector <= bins; k += kWide * kBinsPerVector)
        convolveBins<kWide>(out + 2 * k, spectrum + 2 * k, kernel, pairFloats);
    for (; k + kBinsPerVector <= bins; k += kBinsPerVector)
        convolveBins<1>(out + 2 * k, spectrum + 2 * k, kernel, pairFloats);
    // Single bins: along the taps instead; even lanes then hold the real part, odd lanes the imaginary part.
    for (; k < bins; ++k) {
        Vec acc[2] = {};
        int t = 0;
        for (; t + 2 * kLanes <= pairFloats; t += 2 * kLanes) {
            acc[0] += load(kernel + t) * load(spectrum + 2 * k + t);
            acc[1] += load(kernel + t + kLanes) * load(spectrum + 2 * k + t + kLanes);
        }
        if (t < pairFloats) acc[0] += load(kernel + t) * load(spectrum + 2 * k + t);
        const V4 four = fold(acc[0] + acc[1]);
        out[2 * k] = four[0] + four[2];
        out[2 * k + 1] = four[1] + four[3];
    }
}

// kLanes bins as pairs, and the squares of their magnitudes.
KATESSEL_INLINE void writeBins(float* pairs, float* squares, Vec re, Vec im) {
    store(pairs, lowMixed(re, im));
    store(pairs + kLanes, highMixed(re, im));
    store(squares, re * re + im * im);
}

// kWide vectors of bins. The vector from value n * kLanes + j on meets tap j + m * kLanes for bin vector n - m: it is
// loaded once for all of them.
template <int kWide>
KATESSEL_INLINE void convolveWide(float* pairs, float* squares, const float* re, const float* im, const float* taps) {
    Vec sumRe[std::size_t{kWide}] = {}, sumIm[std::size_t{kWide}] = {};
    constexpr int kSteps = kFrameTaps / kLanes;  // whole vectors of taps
    const auto taken = [&](auto steps, int j) {
        constexpr int kCount = decltype(steps)::value;
        Vec tap[std::size_t{kCount}];
        for (int m = 0; m < kCount; ++m) tap[m] = splat(taps[j + m * kLanes]);
        for (int n = 0; n < kWide + kCount - 1; ++n) {
            const Vec valueRe = load(re + n * kLanes + j), valueIm = load(im + n * kLanes + j);
            for (int m = 0; m < kCount; ++m) {
                if (n < m || n - m >= kWide) continue;
                sumRe[n - m] += tap[m] * valueRe;
                sumIm[n - m] += tap[m] * valueIm;
            }
        }
    };
    int j = 0;
    for (; j < kFrameTaps % kLanes; ++j) taken(std::integral_constant<int, kSteps + 1>(), j);
    for (; j < kLanes; ++j) taken(std::integral_constant<int, kSteps>(), j);
    for (int v = 0; v < kWide; ++v) writeBins(pairs + 2 * v * kLanes, squares + v * kLanes, sumRe[v], sumIm[v]);
}

// The same tap by tap, where the registers hold no more than that; with kOwn every bin has its own taps.
template <int kWide, bool kOwn>
KATESSEL_INLINE void convolveNarrow(float* pairs, float* squares, const float* re, const float* im, const float* taps) {
    Vec sumRe[std::size_t{kWide}] = {}, sumIm[std::size_t{kWide}] = {};
    for (int t = 0; t < kFrameTaps; ++t) {
        const Vec tap = kOwn ? load(taps + t * kLanes) : splat(taps[t]);
        for (int v = 0; v < kWide; ++v) {
            sumRe[v] += tap * load(re + v * kLanes + t);
            sumIm[v] += tap * load(im + v * kLanes + t);
        }
    }
    for (int v = 0; v < kWide; ++v) writeBins(pairs + 2 * v * kLanes, squares + v * kLanes, sumRe[v], sumIm[v]);
}

void convolveFrame(float* pairs, float* magnitude, const float* re, const float* im, const float* taps, bool ownTaps,
                   int bins) {
    constexpr int kWide = kLanes == 16 ? 8 : 4;
    int k = 0;
    if (ownTaps) {
        for (; k < bins; k += kLanes, taps += kFrameTaps * kLanes)
            convolveNarrow<1, true>(pairs + 2 * k, magnitude + k, re + k, im + k, taps);
    } else {
        for (; k + kWide * kLanes <= bins; k += kWide * kLanes) {
            if constexpr (kLanes == 16)
                convolveWide<kWide>(pairs + 2 * k, magnitude + k, re + k, im + k, taps);
            else
                convolveNarrow<kWide, false>(pairs + 2 * k, magnitude + k, re + k, im + k, taps);
        }
        for (; k < bins; k += kLanes) convolveNarrow<1, false>(pairs + 2 * k, magnitude + k, re + k, im + k, taps);
    }
    for (int i = 0; i < bins; ++i) magnitude[i] = sqrtf(magnitude[i]);
}

}  // namespace
}  // namespace KaTessel::kernels
