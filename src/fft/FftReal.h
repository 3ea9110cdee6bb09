// Transforms of real signals by complex transforms of half the length.
//
// The even samples are taken as real parts and the odd ones as imaginary parts of z. With Z its transform, the
// spectrum of the real signal at bin k is Z[k] - c D, and at bin N - k it is Z[N - k] + conj(c D), where
// D = Z[k] - conj(Z[N - k]) and c = (1 + i w) / 2, w = exp(i 2 pi k / n). The way back is the same with conj(c).
#pragma once

#include "fft/FftTransforms.h"

namespace KaTessel {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kRealBlockPoints = 128;  // 256 floats

// Turns Z into the bins of the real signal; with kInverse the bins into Z. n floats, above 4.
template <bool kInverse, typename Real>
void mixMirroredBins(int n, Real* a) {
    const int points = n / 2;
    // From a quarter turn, where c is 0, downwards.
    PhaseWalk<false> walk(static_cast<float>(kPi / n), points / 2, -1, kRealBlockPoints);
    for (int k = points / 2 - 1; k >= 1; --k) {
        walk.advance();
        const Complex w = walk.first();
        const Complex c = {0.5f - 0.5f * w.im, kInverse ? -0.5f * w.re : 0.5f * w.re};
        const ComplexOf<Real> low = get(a, k), high = get(a, points - k);
        const ComplexOf<Real> mixed = (low - conjugate(high)) * c;
        set(a, k, low - mixed);
        set(a, points - k, high + conjugate(mixed));
    }
}

template <typename Real>
void negateImaginaryParts(Real* a, int n) {
    for (int k = 3; k < n; k += 2) a[k] = -a[k];
}

// Spectrum of n real samples: DC, Nyquist, then bins 1 .. n/2 - 1; sign exp(-i ..).
template <typename Real>
void realTransform(int n, Real* a) {
    forwardTransform(n, a);
    if (n > 4) mixMirroredBins<false>(n, a);
    const Real sum = a[0] + a[1], difference = a[0] - a[1];
    a[0] = sum;
    a[1] = difference;
    negateImaginaryParts(a, n);
}

}  // namespace
}  // namespace KaTessel
