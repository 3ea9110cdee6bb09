// The kernels in vectors of kLanes floats: one source for every instruction set.
//
// Included once by each Variant*.cpp, which sets KATESSEL_LANES and names the table; the build gives that file its
// instruction set. Nothing here may call an inline function from another header, unless it is in an unnamed namespace
// as the transform is: the linker would keep one copy of it, perhaps the one compiled for instructions that the
// machine lacks.
#include <math.h>
#include <stddef.h>

#include "fft/FftReal.h"
#include "kernels/Kernels.h"
#include "kernels/Polyphase.h"

namespace KaTessel::kernels {
namespace {

constexpr int kLanes = KATESSEL_LANES;

typedef float V4 __attribute__((vector_size(16)));
typedef float V8 __attribute__((vector_size(32)));
typedef float V16 __attribute__((vector_size(64)));
typedef float Vec __attribute__((vector_size(kLanes * 4)));
typedef int Mask __attribute__((vector_size(kLanes * 4)));
typedef float UnalignedVec __attribute__((vector_size(kLanes * 4), aligned(4), may_alias));

#define KATESSEL_INLINE inline __attribute__((always_inline))

KATESSEL_INLINE Vec load(const float* p) { return *reinterpret_cast<const UnalignedVec*>(p); }
KATESSEL_INLINE void store(float* p, Vec v) { *reinterpret_cast<UnalignedVec*>(p) = v; }
KATESSEL_INLINE Vec splat(float x) { return x - Vec{}; }
KATESSEL_INLINE Vec keep(Mask m, Vec v) { return reinterpret_cast<Vec>(m & reinterpret_cast<Mask>(v)); }
KATESSEL_INLINE Vec select(Mask m, Vec yes, Vec no) {
    return reinterpret_cast<Vec>((m & reinterpret_cast<Mask>(yes)) | (~m & reinterpret_cast<Mask>(no)));
}

// A vector folded to four lanes, each a partial sum.
KATESSEL_INLINE V4 fold(V4 v) { return v; }
#if KATESSEL_LANES >= 8
KATESSEL_INLINE V4 fold(V8 v) {
    return __builtin_shufflevector(v, v, 0, 1, 2, 3) + __builtin_shufflevector(v, v, 4, 5, 6, 7);
}
#endif
#if KATESSEL_LANES >= 16
KATESSEL_INLINE V4 fold(V16 v) {
    return fold(__builtin_shufflevector(v, v, 0, 1, 2, 3, 4, 5, 6, 7) +
                __builtin_shufflevector(v, v, 8, 9, 10, 11, 12, 13, 14, 15));
}
#endif

KATESSEL_INLINE float sum(Vec v) {
    const V4 f = fold(v);
    return (f[0] + f[2]) + (f[1] + f[3]);
}

// The sums of four vectors.
KATESSEL_INLINE V4 sums(Vec a, Vec b, Vec c, Vec d) {
    const V4 fa = fold(a), fb = fold(b), fc = fold(c), fd = fold(d);
    const V4 ab = __builtin_shufflevector(fa, fb, 0, 4, 1, 5) + __builtin_shufflevector(fa, fb, 2, 6, 3, 7);
    const V4 cd = __builtin_shufflevector(fc, fd, 0, 4, 1, 5) + __builtin_shufflevector(fc, fd, 2, 6, 3, 7);
    return __builtin_shufflevector(ab, cd, 0, 1, 4, 5) + __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
}

// Applies f to whole vectors of x and, for the rest, to a vector filled up with zeros.
template <typename Function>
KATESSEL_INLINE void inPlace(float* x, int n, Function f) {
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) store(x + i, f(load(x + i)));
    if (i == n) return;
    float rest[kLanes] = {};
    for (int j = i; j < n; ++j) rest[j - i] = x[j];
    store(rest, f(load(rest)));
    for (int j = i; j < n; ++j) x[j] = rest[j - i];
}

float dot(const float* a, const float* b, int n) {
    Vec acc = {};
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) acc += load(a + i) * load(b + i);
    float total = sum(acc);
    for (; i < n; ++i) total += a[i] * b[i];
    return total;
}

// The products of kRows neighbouring rows with the taps, left in `out`.
// The last nIn % kLanes inputs are read as a whole vector that ends with the row, of which `last` keeps what is not yet
// counted: of the inputs, per tap, in `ends`, and of the weights too, as an infinite one times a zero is no zero.
template <int kRows>
KATESSEL_INLINE void rowBlock(float* out, const float* w, long rowStride, long tapStride, const float* const* x,
                              const Vec* ends, Mask last, int taps, int nIn) {
    Vec acc[std::size_t{kRows}] = {};
    float shortSums[std::size_t{kRows}] = {};
    const int whole = nIn - nIn % kLanes;
    for (int t = 0; t < taps; ++t) {
        const float* rows = w + t * tapStride;
        for (int i = 0; i < whole; i += kLanes) {
            const Vec in = load(x[t] + i);
            for (int r = 0; r < kRows; ++r) acc[r] += load(rows + r * rowStride + i) * in;
        }
        if (whole == nIn) continue;
        if (whole > 0) {
            for (int r = 0; r < kRows; ++r) acc[r] += keep(last, load(rows + r * rowStride + nIn - kLanes)) * ends[t];
        } else {
            for (int r = 0; r < kRows; ++r)
                for (int i = 0; i < nIn; ++i) shortSums[r] += rows[r * rowStride + i] * x[t][i];
        }
    }
    if constexpr (kRows == 1) {
        out[0] = sum(acc[0]) + shortSums[0];
    } else {
        for (int r = 0; r < kRows; r += 4) {
            const V4 four = sums(acc[r], acc[r + 1], acc[r + 2], acc[r + 3]);
            for (int j = 0; j < 4; ++j) out[r + j] = four[j] + shortSums[r + j];
        }
    }
}

void rowProduct(float* out, const float* w, long rowStride, long tapStride, const float* const* x, int taps, int nIn,
                int nOut, const float* bias, bool accumulate) {
    Vec ends[kMaxTaps];
    Mask last = {};
    const int rest = nIn % kLanes;
    if (rest != 0 && nIn > kLanes) {
        for (int i = kLanes - rest; i < kLanes; ++i) last[i] = -1;
        for (int t = 0; t < taps; ++t) ends[t] = keep(last, load(x[t] + nIn - kLanes));
    }
    float block[8];
    for (int o = 0; o < nOut;) {
        const float* rows = w + o * rowStride;
        int count = 1;
        if (o + 8 <= nOut) {
            rowBlock<8>(block, rows, rowStride, tapStride, x, ends, last, taps, nIn);
            count = 8;
        } else if (o + 4 <= nOut) {
            rowBlock<4>(block, rows, rowStride, tapStride, x, ends, last, taps, nIn);
            count = 4;
        } else {
            rowBlock<1>(block, rows, rowStride, tapStride, x, ends, last, taps, nIn);
        }
        for (int r = 0; r < count; ++r, ++o) {
            const float value = bias != nullptr ? block[r] + bias[o] : block[r];
            out[o] = accumulate ? out[o] + value : value;
        }
    }
}

// A tile of frames by kPanel outputs: the weights of one input are loaded once for all frames of the tile. As many sums
// as the register file holds beside them.
constexpr int kPanelVectors = kLanes == 16 ? 1 : 2;
constexpr int kPanel = kPanelVectors * kLanes;
constexpr int kTileFrames = kLanes == 16 ? 12 : kLanes == 8 ? 6 : 4;

template <int kFrames>
KATESSEL_INLINE void frameTile(float* out, long outStride, int outputs, const float* panel, const float* const* x,
                               long xOffset, long xStride, int taps, int nIn, const float* bias, bool accumulate) {
    Vec acc[std::size_t{kFrames}][kPanelVectors] = {};
    for (int t = 0; t < taps; ++t) {
        const float* in = x[t] + xOffset;
        for (int i = 0; i < nIn; ++i, panel += kPanel) {
            Vec weights[kPanelVectors];
            for (int v = 0; v < kPanelVectors; ++v) weights[v] = load(panel + v * kLanes);
            for (int f = 0; f < kFrames; ++f) {
                const Vec value = splat(in[f * xStride + i]);
                for (int v = 0; v < kPanelVectors; ++v) acc[f][v] += value * weights[v];
            }
        }
    }
    for (int f = 0; f < kFrames; ++f) {
        float sums[kPanel];
        for (int v = 0; v < kPanelVectors; ++v) store(sums + v * kLanes, acc[f][v]);
        float* to = out + f * outStride;
        for (int o = 0; o < outputs; ++o) {
            const float sum = bias != nullptr ? sums[o] + bias[o] : sums[o];
            to[o] = accumulate ? to[o] + sum : sum;
        }
    }
}

void frameProduct(float* out, long outStride, int frames, int nOut, const float* packed, const float* const* x,
                  long xStride, int taps, int nIn, const float* bias, bool accumulate) {
    for (int o = 0; o < nOut; o += kPanel, packed += static_cast<long>(taps) * nIn * kPanel) {
        const int outputs = nOut - o < kPanel ? nOut - o : kPanel;
        const float* panelBias = bias != nullptr ? bias + o : nullptr;
        int f = 0;
        for (; f + kTileFrames <= frames; f += kTileFrames)
            frameTile<kTileFrames>(out + f * outStride + o, outStride, outputs, packed, x, f * xStride, xStride, taps,
                                   nIn, panelBias, accumulate);
        for (; f + 4 <= frames; f += 4)
            frameTile<4>(out + f * outStride + o, outStride, outputs, packed, x, f * xStride, xStride, taps, nIn,
                         panelBias, accumulate);
        for (; f < frames; ++f)
            frameTile<1>(out + f * outStride + o, outStride, outputs, packed, x, f * xStride, xStride, taps, nIn,
                         panelBias, accumulate);
    }
}

void accumulate(float* out, const float* x, int n) {
    for (int i = 0; i < n; ++i) out[i] += x[i];
}

void scale(float* out, float factor, int n) {
    for (int i = 0; i < n; ++i) out[i] *= factor;
}

void multiply(float* out, const float* a, const float* b, int n) {
    for (int i = 0; i < n; ++i) out[i] = a[i] * b[i];
}

void scaledSum(float* out, const float* a, const float* b, float factor, int n) {
    for (int i = 0; i < n; ++i) out[i] = (a[i] + b[i]) * factor;
}

// exp(x) for -87 <= x <= 88, clamped to that range: 2^k * exp(r) with |r| <= ln(2) / 2.
// Coefficients of this and the two functions below: scripts/tables/fit_kernel_polynomials.py.
KATESSEL_INLINE Vec exponential(Vec x) {
    x = select(x < -87.0f, splat(-87.0f), x);
    x = select(x > 88.0f, splat(88.0f), x);
    const float kRound = 12582912.0f;  // 1.5 * 2^23: adding it leaves the nearest whole number in the low bits
    const Vec shifted = x * 1.44269504f + kRound;
    const Vec k = shifted - kRound;
    const Vec r = (x - k * 0.693359375f) - k * -2.12194440e-4f;  // ln(2) in two parts, the first exact in products
    Vec p = splat(1.375115e-03f);
    p = p * r + 8.368988e-03f;
    p = p * r + 4.1669544e-02f;
    p = p * r + 1.6666518e-01f;
    p = p * r + 4.9999988e-01f;
    p = p * (r * r) + r + 1.0f;
    const Mask exponent = reinterpret_cast<Mask>(shifted) << 23;
    return reinterpret_cast<Vec>(reinterpret_cast<Mask>(p) + exponent);
}

void sigmoid(float* x, int n) {
    inPlace(x, n, [](Vec v) { return select(v < -40.0f, Vec{}, 1.0f / (1.0f + exponential(-v))); });
}

void hyperbolicTangent(float* x, int n) {
    inPlace(x, n, [](Vec v) {
        const Vec size = select(v < 0.0f, -v, v);
        const Vec square = v * v;
        Vec p = splat(-5.711377e-03f);
        p = p * square + 2.0646647e-02f;
        p = p * square + -5.374278e-02f;
        p = p * square + 1.3331492e-01f;
        p = p * square + -3.3333284e-01f;
        const Vec nearZero = p * square * v + v;
        const Vec large = 1.0f - 2.0f / (exponential(2.0f * size) + 1.0f);
        return select(size < 0.625f, nearZero, select(v < 0.0f, -large, large));
    });
}

void leakyRelu(float* x, float slope, int n) {
    inPlace(x, n, [slope](Vec v) { return select(v < 0.0f, v * slope, v); });
}

void magnitude(float* out, const float* pairs, int n) {
    for (int i = 0; i < n; ++i) out[i] = sqrtf(pairs[2 * i] * pairs[2 * i] + pairs[2 * i + 1] * pairs[2 * i + 1]);
}

// log10(x) for normal x: x = 2^k * m with sqrt(1/2) <= m < sqrt(2), and ln(m) as an odd series in (m - 1) / (m + 1).
KATESSEL_INLINE Vec logarithm10(Vec x) {
    const Mask bits = reinterpret_cast<Mask>(x);
    const Mask kSqrtHalf = Mask{} + 0x3f3504f3;
    const Mask exponent = (bits - kSqrtHalf) >> 23;
    const Vec m = reinterpret_cast<Vec>(bits - (exponent << 23));
    const Vec k = __builtin_convertvector(exponent, Vec);
    const Vec s = (m - 1.0f) / (m + 1.0f);
    const Vec square = s * s;
    Vec p = splat(2.35707e-01f);
    p = p * square + 2.8538004e-01f;
    p = p * square + 4.0000322e-01f;
    p = p * square + 6.666667e-01f;
    const Vec ln = p * square * s + 2.0f * s;
    return k * 0.301029996f + ln * 0.434294482f;
}

void scaledDecibels(float* x, float floor, float factor, float offset, int n) {
    inPlace(x, n, [=](Vec v) {
        const Vec level = select(v > floor, v, splat(floor));
        return 20.0f * logarithm10(level) * factor + offset;
    });
}

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

void transformLanes(float* a, int n) { realTransform(n, reinterpret_cast<Vec*>(a)); }

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

double polyphase(float* out, int count, const float* in, double pos, double step, const float* table, int taps,
                 int phases) {
    return polyphaseBy(dot, out, count, in, pos, step, table, taps, phases);
}

}  // namespace

const Kernels KATESSEL_TABLE = {
    .name = KATESSEL_NAME,
    .panel = kPanel,
    .lanes = kLanes,
    .dot = dot,
    .rowProduct = rowProduct,
    .frameProduct = frameProduct,
    .accumulate = accumulate,
    .scale = scale,
    .multiply = multiply,
    .scaledSum = scaledSum,
    .sigmoid = sigmoid,
    .tanh = hyperbolicTangent,
    .leakyRelu = leakyRelu,
    .magnitude = magnitude,
    .scaledDecibels = scaledDecibels,
    .convolvePairs = convolvePairs,
    .transformLanes = transformLanes,
    .convolveLanes = convolveLanes,
    .magnitudeLanes = magnitudeLanes,
    .weightedLanes = weightedLanes,
    .polyphase = polyphase,
};

}  // namespace KaTessel::kernels
