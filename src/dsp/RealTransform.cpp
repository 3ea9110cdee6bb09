// The transforms of real signals as the analyser offers them, and the half-complex format.
#include <algorithm>

#include "fft/FftReal.h"
#include "katessel/MRSpectrum.h"

namespace KaTessel {
namespace {

float* made(std::unique_ptr<float[]>& spectrum) {
    constexpr std::size_t kFloats = 262146;
    if (spectrum == nullptr) spectrum.reset(new float[kFloats]());
    return spectrum.get();
}

}  // namespace

long MRSpectrum::rFFT(float* a, int n) {
    n &= ~1;
    if (n >= 2) realTransform(n, a);
    return 0;
}

long MRSpectrum::irFFT(float* a, int n, bool halfComplexCopy) {
    n &= ~1;
    if (n < 2) return 0;
    if (halfComplexCopy)
        SpecFormatConversion(a, n);
    else
        std::copy_n(a, n, made(m_spareSpectrum));
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
    float* h = made(m_spareSpectrum);
    h[0] = a[0];
    h[n / 2] = a[1];
    for (int k = 1; k < n / 2; ++k) {
        h[k] = a[2 * k];
        h[n - k] = a[2 * k + 1];
    }
    return h;
}

}  // namespace KaTessel
