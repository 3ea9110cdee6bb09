// Kernels that treat every element by itself.
#pragma once

#include <math.h>

#include "kernels/Vectors.h"

namespace KaTessel::kernels {
namespace {

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

KATESSEL_INLINE Vec size(Vec v) { return select(v < 0.0f, -v, v); }

// tanh(v) for |v| < 0.625, where the quotient below would lose its last digits.
KATESSEL_INLINE Vec tanhNearZero(Vec v) {
    const Vec square = v * v;
    Vec p = splat(-5.711377e-03f);
    p = p * square + 2.0646647e-02f;
    p = p * square + -5.374278e-02f;
    p = p * square + 1.3331492e-01f;
    p = p * square + -3.3333284e-01f;
    return p * square * v + v;
}

void sigmoid(float* x, int n) {
    inPlace(x, n, [](Vec v) { return select(v < -40.0f, Vec{}, 1.0f / (1.0f + exponential(-v))); });
}

void hyperbolicTangent(float* x, int n) {
    inPlace(x, n, [](Vec v) {
        const Vec large = 1.0f - 2.0f / (exponential(2.0f * size(v)) + 1.0f);
        return select(size(v) < 0.625f, tanhNearZero(v), select(v < 0.0f, -large, large));
    });
}

// Both quotients over one divisor: a division costs more than all the rest. Beyond 10 tanh is 1.
KATESSEL_INLINE Vec gatedValue(Vec filter, Vec gate) {
    const Mask nearZero = size(filter) < 0.625f;
    const Vec e = exponential(2.0f * select(size(filter) < 10.0f, size(filter), splat(10.0f)));
    const Vec numerator = select(filter < 0.0f, 1.0f - e, e - 1.0f);
    const Vec divisor = select(nearZero, splat(1.0f), e + 1.0f) * (1.0f + exponential(-gate));
    return select(gate < -40.0f, Vec{}, select(nearZero, tanhNearZero(filter), numerator) / divisor);
}

// The last vector overlaps the one before, where there is one.
void gated(float* out, const float* filter, const float* gate, int n) {
    int i = 0;
    for (; i + kLanes <= n; i += kLanes) store(out + i, gatedValue(load(filter + i), load(gate + i)));
    if (i == n) return;
    if (n >= kLanes) {
        i = n - kLanes;
        store(out + i, gatedValue(load(filter + i), load(gate + i)));
        return;
    }
    float f[kLanes] = {}, g[kLanes] = {};
    for (int j = 0; j < n; ++j) {
        f[j] = filter[j];
        g[j] = gate[j];
    }
    store(f, gatedValue(load(f), load(g)));
    for (int j = 0; j < n; ++j) out[j] = f[j];
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

}  // namespace
}  // namespace KaTessel::kernels
