// Kernels over several signals side by side.
#pragma once

#include <math.h>

#include "fft/FftReal.h"
#include "kernels/Vectors.h"

namespace KaTessel::kernels {
namespace {

void transformLanes(float* a, int n) { realTransform(n, reinterpret_cast<Vec*>(a)); }

void placeLanes(float* out, const float* samples, long stride, float scale, int count) {
    for (int i = 0; i < count; i += kLanes) {
        Vec rows[kLanes];
        for (int s = 0; s < kLanes; ++s) rows[s] = load(samples + s * stride + i);
        transpose(rows);
        for (int l = 0; l < kLanes; ++l) storeAligned(out + (i + l) * kLanes, rows[l] * scale);
    }
}

// kBins neighbouring bins share the taps.
template <int kBins>
KATESSEL_INLINE void convolveBinsOfLanes(Vec* out, const Vec* spectrum, const float* taps, int count) {
    Vec re[std::size_t{kBins}] = {}, im[std::size_t{kBins}] = {};
    for (int t = 0; t < count; ++t) {
        const Vec tap = splat(taps[2 * t]);
        for (int b = 0; b < kBins; ++b) {
            re[b] += tap * spectrum[2 * (t + b)];
            im[b] += tap * spectrum[2 * (t + b) + 1];
        }
    }
    for (int b = 0; b < kBins; ++b) {
        out[2 * b] = re[b];
        out[2 * b + 1] = im[b];
    }
}

void convolveLanes(float* out, const float* spectrum, const float* taps, int count, int bins) {
    constexpr int kBins = kLanes == 16 ? 8 : 4;  // as the register file allows
    Vec* to = reinterpret_cast<Vec*>(out);
    const Vec* from = reinterpret_cast<const Vec*>(spectrum);
    int k = 0;
    for (; k + kBins <= bins; k += kBins) convolveBinsOfLanes<kBins>(to + 2 * k, from + 2 * k, taps, count);
    for (; k < bins; ++k) convolveBinsOfLanes<1>(to + 2 * k, from + 2 * k, taps, count);
}

void magnitudeLanes(float* out, const float* pairs, int n) {
    for (int k = 0; k < n; ++k)
        for (int s = 0; s < kLanes; ++s) {
            const float re = pairs[2 * k * kLanes + s], im = pairs[(2 * k + 1) * kLanes + s];
            out[k * kLanes + s] = sqrtf(re * re + im * im);
        }
}

void weightedLanes(float* out, const float* x, const float* weights, int n) {
    Vec sums = {};
    for (int k = 0; k < n; ++k) sums += load(x + k * kLanes) * weights[k];
    store(out, sums);
}

}  // namespace
}  // namespace KaTessel::kernels
