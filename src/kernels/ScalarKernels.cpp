// The kernels as plain loops: what every other variant is tested against.
#include <math.h>

#include "fft/FftReal.h"
#include "kernels/Kernels.h"
#include "kernels/Polyphase.h"

namespace KaTessel::kernels {
namespace {

float dot(const float* a, const float* b, int n) {
    float sum = 0.0f;
    for (int i = 0; i < n; ++i) sum += a[i] * b[i];
    return sum;
}

void rowProduct(float* out, const float* w, long rowStride, long tapStride, const float* const* x, int taps, int nIn,
                int nOut, const float* bias, bool accumulate) {
    for (int o = 0; o < nOut; ++o) {
        float sum = 0.0f;
        for (int t = 0; t < taps; ++t) sum += dot(w + t * tapStride + o * rowStride, x[t], nIn);
        if (bias != nullptr) sum += bias[o];
        out[o] = accumulate ? out[o] + sum : sum;
    }
}

// One signal, and one output, at a time.
constexpr int kLanes = 1;
constexpr int kBlockVectors = 16;

void frameProduct(float* out, long outStride, int frames, int nOut, const float* packed, const float* const* x,
                  long xStride, int taps, int nIn, const float* bias, bool accumulate) {
    for (int first = 0; first < nOut; first += kBlockVectors) {
        const int width = nOut - first < kBlockVectors ? nOut - first : kBlockVectors;
        for (int f = 0; f < frames; ++f) {
            const float* weights = packed + static_cast<long>(first) * taps * nIn;
            float sums[kBlockVectors] = {};
            for (int t = 0; t < taps; ++t)
                for (int i = 0; i < nIn; ++i, weights += width)
                    for (int o = 0; o < width; ++o) sums[o] += weights[o] * x[t][f * xStride + i];
            for (int o = 0; o < width; ++o) {
                const float sum = bias != nullptr ? sums[o] + bias[first + o] : sums[o];
                float& to = out[f * outStride + first + o];
                to = accumulate ? to + sum : sum;
            }
        }
    }
}

void shortDots(float* out, const float* rows, const float* x, const int* starts, int n) {
    for (int r = 0; r < n; ++r) out[r] = dot(rows + r * kShortRow, x + starts[r], kShortRow);
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

void sigmoid(float* x, int n) {
    for (int i = 0; i < n; ++i) x[i] = x[i] < -40.0f ? 0.0f : 1.0f / (1.0f + expf(-x[i]));
}

void hyperbolicTangent(float* x, int n) {
    for (int i = 0; i < n; ++i) x[i] = tanhf(x[i]);
}

void gated(float* out, const float* filter, const float* gate, int n) {
    for (int i = 0; i < n; ++i) {
        float opening = gate[i];
        sigmoid(&opening, 1);
        out[i] = tanhf(filter[i]) * opening;
    }
}

void leakyRelu(float* x, float slope, int n) {
    for (int i = 0; i < n; ++i)
        if (x[i] < 0.0f) x[i] *= slope;
}

void magnitude(float* out, const float* pairs, int n) {
    for (int i = 0; i < n; ++i) out[i] = sqrtf(pairs[2 * i] * pairs[2 * i] + pairs[2 * i + 1] * pairs[2 * i + 1]);
}

void scaledDecibels(float* x, float floor, float factor, float offset, int n) {
    for (int i = 0; i < n; ++i) x[i] = 20.0f * log10f(x[i] > floor ? x[i] : floor) * factor + offset;
}

void convolvePairs(float* out, const float* spectrum, const float* kernel, int pairFloats, int bins) {
    for (int k = 0; k < bins; ++k) {
        float re = 0.0f, im = 0.0f;
        for (int t = 0; t < pairFloats; t += 2) {
            re += kernel[t] * spectrum[2 * k + t];
            im += kernel[t + 1] * spectrum[2 * k + t + 1];
        }
        out[2 * k] = re;
        out[2 * k + 1] = im;
    }
}

void transformFrame(float* re, float* im, const float* samples, const FrameFactors& /*factors*/) {
    float a[2 * kFramePoints];
    for (int i = 0; i < 2 * kFramePoints; ++i) a[i] = samples[(i + kFramePoints) % (2 * kFramePoints)];
    realTransform(2 * kFramePoints, a);
    for (int k = 0; k < kFramePoints; ++k) {
        re[k] = a[2 * k];
        im[k] = a[2 * k + 1];
    }
    re[kFramePoints] = a[1];
    im[0] = im[kFramePoints] = 0.0f;
}

void convolveFrame(float* pairs, float* size, const float* re, const float* im, const float* taps, bool ownTaps,
                   int bins) {
    for (int k = 0; k < bins; ++k) {
        const float* row = ownTaps ? taps + k * kFrameTaps : taps;
        pairs[2 * k] = dot(row, re + k, kFrameTaps);
        pairs[2 * k + 1] = dot(row, im + k, kFrameTaps);
    }
    magnitude(size, pairs, bins);
}

void transformLanes(float* a, int n) { realTransform(n, a); }

void placeLanes(float* out, const float* samples, long /*stride*/, float factor, int count) {
    for (int i = 0; i < count; ++i) out[i] = samples[i] * factor;
}

void convolveLanes(float* out, const float* spectrum, const float* taps, int count, int bins) {
    convolvePairs(out, spectrum, taps, 2 * count, bins);
}

void weightedLanes(float* out, const float* x, const float* weights, int n) { *out = dot(x, weights, n); }

double polyphase(float* out, int count, const float* in, double pos, double step, const float* table, int taps,
                 int phases) {
    SteppedPositions at = {pos, step};
    polyphaseBy(dot, out, count, in, at, table, taps, phases);
    return at.pos;
}

void countedPolyphase(float* out, int count, const float* in, int part, int step, int parts, const float* table,
                      int taps, int phases) {
    CountedPositions at(part, step, parts);
    polyphaseBy(dot, out, count, in, at, table, taps, phases);
}

}  // namespace

const Kernels kScalar = {
    .name = "scalar",
    .lanes = kLanes,
    .blockVectors = kBlockVectors,
    .dot = dot,
    .rowProduct = rowProduct,
    .frameProduct = frameProduct,
    .shortDots = shortDots,
    .accumulate = accumulate,
    .scale = scale,
    .multiply = multiply,
    .scaledSum = scaledSum,
    .sigmoid = sigmoid,
    .tanh = hyperbolicTangent,
    .gated = gated,
    .leakyRelu = leakyRelu,
    .magnitude = magnitude,
    .scaledDecibels = scaledDecibels,
    .convolvePairs = convolvePairs,
    .transformFrame = transformFrame,
    .convolveFrame = convolveFrame,
    .transformLanes = transformLanes,
    .placeLanes = placeLanes,
    .convolveLanes = convolveLanes,
    .magnitudeLanes = magnitude,
    .weightedLanes = weightedLanes,
    .polyphase = polyphase,
    .countedPolyphase = countedPolyphase,
};

}  // namespace KaTessel::kernels
