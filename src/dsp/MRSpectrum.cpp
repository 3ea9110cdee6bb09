// One frame through the multi-resolution analysis: place, transform, convolve every bin, write what was asked for.
#include "katessel/MRSpectrum.h"

#include <math.h>

#include <cfloat>
#include <cmath>

#include "base/NewFloats.h"
#include "dsp/Placement.h"
#include "kernels/Kernels.h"

namespace KaTessel {
namespace {

constexpr int kMaxTransform = 131072;
constexpr int kMinBuffer = 2;  // floats of the shortest spectrum, for DC and Nyquist

enum OutputMode : char { kDecibelsAndPhase = 0, kMagnitudeAndPhase = 1, kPowerAndSpectrum = 2, kSpectrum = 3 };

int transformFor(long length, float padFactor) {
    const long atLeast = static_cast<long>(static_cast<float>(length - 1) * padFactor - 1.0f);
    int n = 1;
    while (n <= atLeast && n < kMaxTransform) n *= 2;
    return n;
}

// Calls write(bin, re, im) for bins 0 .. half.
template <typename Write>
void forEachBin(const float* spectrum, int half, Write write) {
    write(0, spectrum[0], 0.0f);
    for (int k = 1; k < half; ++k) write(k, spectrum[2 * k], spectrum[2 * k + 1]);
    if (half > 0) write(half, spectrum[1], 0.0f);
}

float decibels(float magnitude) {
    if (magnitude == 0.0f) return -FLT_MAX;
    return static_cast<float>(20.0 * std::log10(static_cast<double>(magnitude) * 3.0517578125e-5));
}

void allocateMissing(float** array, long n) {
    if (array != nullptr && *array == nullptr) *array = new float[static_cast<std::size_t>(n)]();
}

}  // namespace

MRSpectrum::MRSpectrum() = default;
MRSpectrum::~MRSpectrum() = default;

void MRSpectrum::PrepareMR(long length, char windowType, float padFactor, bool centred, float sampleRate) {
    m_fftLen = transformFor(length, padFactor);
    if (length != m_frameLength) {
        m_frameLength = 0;
        m_frameWindow.reset(newFloats(length));
        float* window = m_frameWindow.get();
        GetWindow(length, 14, &window, false, false);
        m_frameLength = length;
    }
    // The rate is deliberately no part of the key, nor is the placement.
    if (length != m_kernelLength || windowType != m_windowType || padFactor != m_padFactor || m_kernels.empty())
        buildKernels(length, windowType, padFactor, centred, sampleRate);
}

long MRSpectrum::DoMultiresolutionSpectrum(float* input, long length, char windowType, float /*floorDb*/,
                                           float** outMagnitude, float** outPhase, long* outLastBin, char outputMode,
                                           float** ioComplexSpectrum, float padFactor, bool centred, float sampleRate) {
    PrepareMR(length, windowType, padFactor, centred, sampleRate);
    const int half = m_fftLen / 2;
    const bool wantsPhase = outputMode == kDecibelsAndPhase || outputMode == kMagnitudeAndPhase;
    const bool wantsSpectrum = outputMode == kPowerAndSpectrum || outputMode == kSpectrum;
    if (wantsPhase || outputMode == kPowerAndSpectrum) allocateMissing(outMagnitude, half + 1);
    if (wantsPhase) allocateMissing(outPhase, half + 1);
    float* work = m_workSpectrum.get();
    if (wantsSpectrum && ioComplexSpectrum != nullptr) {
        allocateMissing(ioComplexSpectrum, std::max(m_fftLen, kMinBuffer));
        work = *ioComplexSpectrum;
    }

    const float* window = m_frameWindow.get();
    placeForTransform(work, m_fftLen, length, centred, [=](long i) { return window[i] * input[i]; });
    rFFT(work, m_fftLen);
    convolve(work);

    float* magnitude = outMagnitude != nullptr ? *outMagnitude : nullptr;
    if (magnitude != nullptr && outputMode == kPowerAndSpectrum) {
        forEachBin(work, half, [=](int k, float re, float im) {
            magnitude[k] = k == 0 || k == half ? std::fabs(re) : re * re + im * im;
        });
    } else if (magnitude != nullptr && wantsPhase) {
        forEachBin(work, half, [=](int k, float re, float im) {
            const float size = k == 0 || k == half ? std::fabs(re) : std::sqrt(re * re + im * im);
            magnitude[k] = outputMode == kDecibelsAndPhase ? decibels(size) : size;
        });
    }
    if (wantsPhase && outPhase != nullptr) {
        float* phase = *outPhase;
        forEachBin(work, half, [=](int k, float re, float im) {
            // DC and Nyquist are real: their phase is 0 or pi whatever the sign of a zero.
            phase[k] = k == 0 || k == half ? (re < 0.0f ? 3.14159274f : 0.0f) : atan2f(im, re);
        });
    }
    if (outLastBin != nullptr) *outLastBin = half;
    return 0;
}

long MRSpectrum::DoMultiresolutionSpectrum(short* input, long length, char windowType, float floorDb,
                                           float** outMagnitude, float** outPhase, long* outLastBin, char outputMode,
                                           float** ioComplexSpectrum, float padFactor, bool centred, float sampleRate) {
    const std::unique_ptr<float[]> samples(newFloats(length));
    std::copy_n(input, length, samples.get());
    return DoMultiresolutionSpectrum(samples.get(), length, windowType, floorDb, outMagnitude, outPhase, outLastBin,
                                     outputMode, ioComplexSpectrum, padFactor, centred, sampleRate);
}

// Bins -halfTaps .. half + (taps - 1 - halfTaps) of the spectrum as complex pairs. Bins beyond either end are the
// mirrored ones, deliberately without conjugation; DC and Nyquist are real.
void MRSpectrum::extendSpectrum(const float* spectrum) {
    const int half = m_fftLen / 2;
    const auto mirrored = [&](int e) {
        int m = std::abs(e - m_halfTaps) % m_fftLen;
        if (m > half) m = m_fftLen - m;
        float* pair = m_extended.data() + 2 * e;
        const bool real = m == 0 || m == half;
        pair[0] = spectrum[m == half && half > 0 ? 1 : 2 * m];
        pair[1] = real ? 0.0f : spectrum[2 * m + 1];
    };
    // Bins 1 .. half - 1 as they stand, the others one by one.
    const int inside = m_halfTaps + 1, last = m_halfTaps + half;
    for (int e = 0; e < inside; ++e) mirrored(e);
    if (half > 1) std::copy_n(spectrum + 2, 2 * (half - 1), m_extended.data() + 2 * inside);
    for (int e = std::max(last, inside); e < half + m_taps; ++e) mirrored(e);
}

// Replaces the spectrum by its convolution, bin by bin, with the kernel of the bin's resolution.
void MRSpectrum::convolve(float* spectrum) {
    const int half = m_fftLen / 2;
    const kernels::Kernels& vec = *kernels::active;
    extendSpectrum(spectrum);
    if (!m_rotated.empty()) {
        for (int e = 0; e < half + m_taps; ++e) {
            m_rotated[2 * static_cast<std::size_t>(e)] = -m_extended[2 * static_cast<std::size_t>(e) + 1];
            m_rotated[2 * static_cast<std::size_t>(e) + 1] = m_extended[2 * static_cast<std::size_t>(e)];
        }
    }
    float* out = m_kernelWork.get();
    for (int first = 0; first <= half;) {
        const int resolution = resolutionOfBin(first);
        int end = first + 1;
        while (end <= half && resolutionOfBin(end) == resolution) ++end;
        const float* kernel = m_kernels.data() + resolution * m_kernelStride;
        vec.convolvePairs(out + 2 * first, m_extended.data() + 2 * first, kernel, m_kernelStride, end - first);
        if (!m_rotated.empty()) {
            // The imaginary taps, applied to the spectrum times i.
            const float* imaginary = kernel + resolutionCount() * m_kernelStride;
            float* turned = m_windowScratch.get();
            vec.convolvePairs(turned, m_rotated.data() + 2 * first, imaginary, m_kernelStride, end - first);
            vec.accumulate(out + 2 * first, turned, 2 * (end - first));
        }
        first = end;
    }
    if (half == 0) {
        spectrum[0] = out[0];
        return;
    }
    std::copy_n(out, m_fftLen, spectrum);
    spectrum[1] = out[2 * half];
}

}  // namespace KaTessel
