// Transforms of real signals by complex transforms of half the length, and the half-complex format.
//
// The even samples are taken as real parts and the odd ones as imaginary parts of z. With Z its transform, the
// spectrum of the real signal at bin k is Z[k] - c D, and at bin N - k it is Z[N - k] + conj(c D), where
// D = Z[k] - conj(Z[N - k]) and c = (1 + i w) / 2, w = exp(i 2 pi k / n). The way back is the same with conj(c).
#include <math.h>

#include <algorithm>

#include "dsp/Complex.h"
#include "dsp/PhaseWalk.h"
#include "katessel/MRSpectrum.h"

namespace KaTessel {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kBlockPoints = 128;  // 256 floats

template <bool kInverse>
void mixMirroredBins(int n, float* a) {
    const int points = n / 2;
    // From a quarter turn, where c is 0, downwards.
    PhaseWalk<false> walk(static_cast<float>(kPi / n), points / 2, -1, kBlockPoints);
    for (int k = points / 2 - 1; k >= 1; --k) {
        walk.advance();
        const Complex w = walk.first();
        const Complex c = {0.5f - 0.5f * w.im, kInverse ? -0.5f * w.re : 0.5f * w.re};
        const Complex low = get(a, k), high = get(a, points - k);
        const Complex mixed = c * (low - conjugate(high));
        set(a, k, low - mixed);
        set(a, points - k, high + conjugate(mixed));
    }
}

void negateImaginaryParts(float* a, int n) {
    for (int k = 3; k < n; k += 2) a[k] = -a[k];
}

}  // namespace

void CFFTOoura::realPost(int n, float* a) { mixMirroredBins<false>(n, a); }

void CFFTOoura::realPre(int n, float* a) { mixMirroredBins<true>(n, a); }

long MRSpectrum::rFFT(float* a, int n) {
    n &= ~1;
    if (n < 2) return 0;
    m_fft.forward(n, a);
    if (n > 4) m_fft.realPost(n, a);
    const float sum = a[0] + a[1], difference = a[0] - a[1];
    a[0] = sum;
    a[1] = difference;
    negateImaginaryParts(a, n);
    return 0;
}

long MRSpectrum::irFFT(float* a, int n, bool halfComplexCopy) {
    n &= ~1;
    if (n < 2) return 0;
    if (halfComplexCopy)
        SpecFormatConversion(a, n);
    else
        std::copy_n(a, n, m_spareSpectrum.get());
    negateImaginaryParts(a, n);
    a[1] = 0.5f * (a[0] - a[1]);
    a[0] = a[0] - a[1];
    if (n > 4) m_fft.realPre(n, a);
    m_fft.backward(n, a);
    const float scale = static_cast<float>(1.0 / n);
    for (int k = 0; k < n; ++k) a[k] = a[k] * 2.0f * scale;
    return 0;
}

float* MRSpectrum::SpecFormatConversion(float* a, int n) {
    float* h = m_spareSpectrum.get();
    h[0] = a[0];
    h[n / 2] = a[1];
    for (int k = 1; k < n / 2; ++k) {
        h[k] = a[2 * k];
        h[n - k] = a[2 * k + 1];
    }
    return h;
}

}  // namespace KaTessel
