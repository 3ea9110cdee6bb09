// The vector vocabulary: every loop that costs time, with plain arguments and no knowledge of networks.
//
// Each kernel exists once per instruction set (Variant*.cpp); ScalarKernels.cpp holds the plain loops that say what
// each one means. Destination first; arrays may have any alignment and must not overlap unless said otherwise.
// For finite arguments variants differ from the plain loops only by the order of summation, fused multiply-adds and,
// for sigmoid, tanh and decibels, by a few units in the last place.
#pragma once

#include <atomic>

#include "kernels/FrameFactors.h"

namespace KaTessel::kernels {

struct Kernels {
    const char* name;  // "scalar", "sse2", "avx2", "avx512", "neon", "simd128"
    int lanes;         // floats of a vector; signals that the lane kernels treat side by side: value i of signal s is
                       // at [i * lanes + s]
    int blockVectors;  // vectors of outputs in a block of packed weights

    // Sum of a[i] * b[i] over n.
    float (*dot)(const float* a, const float* b, int n);

    // out[o] = (accumulate ? out[o] : 0) + bias[o] + sum over taps t of row(t, o) . x[t], the row of nIn weights at
    // w + t * tapStride + o * rowStride. nOut outputs; bias may be null; at most kMaxTaps taps.
    void (*rowProduct)(float* out, const float* w, long rowStride, long tapStride, const float* const* x, int taps,
                       int nIn, int nOut, const float* bias, bool accumulate);

    // One frame or many: for f < frames and o < nOut, out[f * outStride + o] = (accumulate ? what it holds : 0) +
    // bias[o] + sum over taps t and inputs i of weight(t, i, o) * x[t][f * xStride + i]. bias may be null.
    //   packed  aligned to a vector: blocks of blockVectors * lanes outputs, the last one of as many whole vectors as
    //           are left, filled up with zeros; each block is taps * nIn rows of one weight per output
    void (*frameProduct)(float* out, long outStride, int frames, int nOut, const float* packed, const float* const* x,
                         long xStride, int taps, int nIn, const float* bias, bool accumulate);

    // out[r] = sum over i < kShortRow of rows[r * kShortRow + i] * x[starts[r] + i], for r < n.
    void (*shortDots)(float* out, const float* rows, const float* x, const int* starts, int n);

    // out[i] += x[i]
    void (*accumulate)(float* out, const float* x, int n);

    // out[i] *= factor
    void (*scale)(float* out, float factor, int n);

    // out[i] = a[i] * b[i]
    void (*multiply)(float* out, const float* a, const float* b, int n);

    // out[i] = (a[i] + b[i]) * factor; out may be a or b
    void (*scaledSum)(float* out, const float* a, const float* b, float factor, int n);

    // x[i] = 0 below -40, else 1 / (1 + exp(-x[i]))
    void (*sigmoid)(float* x, int n);

    void (*tanh)(float* x, int n);

    // out[i] = tanh(filter[i]) * (0 where gate[i] < -40, else 1 / (1 + exp(-gate[i])))
    void (*gated)(float* out, const float* filter, const float* gate, int n);

    // x[i] *= slope where x[i] < 0
    void (*leakyRelu)(float* x, float slope, int n);

    // out[i] = sqrt(pairs[2i]^2 + pairs[2i + 1]^2)
    void (*magnitude)(float* out, const float* pairs, int n);

    // x[i] = 20 * log10(max(x[i], floor)) * scale + offset; floor positive and normal
    void (*scaledDecibels)(float* x, float floor, float scale, float offset, int n);

    // One kernel over neighbouring bins: for k = 0 .. bins - 1 and both halves h of a complex value,
    // out[2k + h] = sum over t < pairFloats / 2 of kernel[2t + h] * spectrum[2(k + t) + h]. Taps are real and stand
    // twice: kernel[2t] and kernel[2t + 1] are equal.
    // pairFloats is a multiple of kMaxLanes; `spectrum` holds pairFloats + 2 * (bins - 1) floats.
    void (*convolvePairs)(float* out, const float* spectrum, const float* kernel, int pairFloats, int bins);

    // Spectrum of 1024 real samples turned by half, sample 512 first: bins 0 .. 512, real and imaginary parts apart, in
    // arrays aligned to 64 bytes; sign exp(-i ..). `factors` are for `lanes`.
    void (*transformFrame)(float* re, float* im, const float* samples, const FrameFactors& factors);

    // kFrameTaps real taps over neighbouring bins of such a spectrum: bin k from re[k + t] and im[k + t] for tap t, as
    // pairs and as magnitudes. `bins` is a multiple of `lanes`.
    //   taps  kFrameTaps for all bins or, with ownTaps, for every vector of bins kFrameTaps vectors of one tap per bin
    void (*convolveFrame)(float* pairs, float* magnitude, const float* re, const float* im, const float* taps,
                          bool ownTaps, int bins);

    // Lane kernels: `lanes` signals at once. Pointers are aligned to 64 bytes.

    // Spectrum of n real samples per signal, n a power of two, in place: DC, Nyquist, then real and
    // imaginary parts of bins 1 .. n/2 - 1; sign exp(-i ..).
    void (*transformLanes)(float* a, int n);

    // out[i * lanes + s] = samples[s * stride + i] * scale for i < count, a multiple of kMaxLanes.
    void (*placeLanes)(float* out, const float* samples, long stride, float scale, int count);

    // convolvePairs for every signal with the same taps: pairs k of `out`, k + t of `spectrum`, taps[2 * t]; `count`
    // taps.
    void (*convolveLanes)(float* out, const float* spectrum, const float* taps, int count, int bins);

    // out[k] = magnitude of pair k, n pairs per signal.
    void (*magnitudeLanes)(float* out, const float* pairs, int n);

    // out = sum over k < n of weights[k] * x[k], one value per signal.
    void (*weightedLanes)(float* out, const float* x, const float* weights, int n);

    // Polyphase FIR: out[k] at position p = pos + k * step is a + (b - a) * t, with i = (int)p, the phase
    // (p - i) * phases = whole part q and rest t, and a, b the products of in[i ..] with rows q and q + 1 of `table`
    // (phases + 1 rows of `taps`). Returns the position after the last output.
    double (*polyphase)(float* out, int count, const float* in, double pos, double step, const float* table, int taps,
                        int phases);

    // The same at positions (part + k * step) / parts. out[k] does not depend on the run that it is rendered in.
    void (*countedPolyphase)(float* out, int count, const float* in, int part, int step, int parts, const float* table,
                             int taps, int phases);
};

constexpr int kMaxLanes = 16;   // floats of the widest vector
constexpr int kMaxTaps = 8;     // most taps of one rowProduct
constexpr int kShortRow = 16;   // of shortDots
constexpr int kFrameTaps = 41;  // of convolveFrame

extern const Kernels kScalar, kSse2, kAvx2, kAvx512, kNeon, kSimd128;

// The variant in use, which any thread may replace at any time. Whoever lays out memory by `lanes` or
// `blockVectors` keeps the
// variant that it did so for.
class ActiveKernels {
public:
    explicit ActiveKernels(const Kernels& kernels) : m_kernels(&kernels) {}
    void use(const Kernels& kernels) { m_kernels.store(&kernels, std::memory_order_relaxed); }
    const Kernels& operator*() const { return *m_kernels.load(std::memory_order_relaxed); }
    const Kernels* operator->() const { return &**this; }

private:
    std::atomic<const Kernels*> m_kernels;
};
extern ActiveKernels active;

}  // namespace KaTessel::kernels
