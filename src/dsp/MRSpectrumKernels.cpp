// Which window every bin is seen through, and that window's spectrum as a short kernel.
#include <algorithm>
#include <cmath>

#include "base/NewFloats.h"
#include "dsp/Placement.h"
#include "kernels/Kernels.h"
#include "katessel/MRSpectrum.h"

namespace KaTessel {
namespace {

constexpr char kAsymmetric = 15;  // the one window family with complex kernels
constexpr int kMaxWindow = 262145;

int floorToInt(float x) { return static_cast<int>(std::min(std::floor(x), 1e9f)); }

}  // namespace

void MRSpectrum::FreeMR() {
    for (std::vector<int>* table : {&m_binResolutions, &m_resolutionLengths}) std::vector<int>().swap(*table);
    for (std::vector<float>* table : {&m_kernels, &m_extended, &m_rotated}) std::vector<float>().swap(*table);
}

// Window lengths: the whole frame up to 200 Hz, 0.0232 s from 1000 Hz on, falling linearly with the bin between, as
// counted at the rate passed. The engine passes half its own, so that there it is 400 and 2000 Hz.
// In float throughout, step by step: a double product would give one resolution more at 24 kHz.
void MRSpectrum::planResolutions(long length, float sampleRate) {
    const int half = m_fftLen / 2;
    const float binSpacing = sampleRate * 0.5f / static_cast<float>(half);                // 11.71875 Hz in the engine
    const int low = floorToInt(200.0f / binSpacing);                                      // 17
    const int high = floorToInt(1000.0f / binSpacing);                                    // 85
    const int shortLength = static_cast<int>(0.023219954f * sampleRate);                  // 278
    const float difference = static_cast<float>(shortLength - static_cast<int>(length));  // -747
    const float slope = (1.0f / static_cast<float>(high - low)) * difference;
    m_binResolutions.resize(static_cast<std::size_t>(half) + 1);
    for (int k = 0; k <= half; ++k) {
        float raw = static_cast<float>(length);
        if (k > high)
            raw = raw + difference;
        else if (k > low)
            raw = raw + static_cast<float>(k - low) * slope;
        const int odd = std::clamp(static_cast<int>(raw) | 1, 1, kMaxWindow);
        if (m_resolutionLengths.empty() || m_resolutionLengths.back() != odd) m_resolutionLengths.push_back(odd);
        m_binResolutions[static_cast<std::size_t>(k)] = resolutionCount() - 1;
    }
}

// What a frame is computed in, as long as its transform needs.
void MRSpectrum::allocateFrameArrays(char windowType) {
    const int floats = m_fftLen + 2;
    m_workSpectrum.reset(newFloats(floats));
    m_kernelWork.reset(newFloats(floats));
    m_windowScratch.reset(windowType == kAsymmetric ? newFloats(floats) : nullptr);
}

void MRSpectrum::buildKernels(long length, char windowType, float padFactor, bool centred, float sampleRate) {
    m_padFactor = -1.0f;  // nothing valid until all is built
    FreeMR();
    m_taps = std::max(1, static_cast<int>(padFactor * 40.0f + 1.0f));
    m_halfTaps = (m_taps - 1) / 2;
    planResolutions(length, sampleRate);

    allocateFrameArrays(windowType);

    const int vectorFloats = kernels::kMaxLanes;
    m_kernelStride = (2 * m_taps + vectorFloats - 1) / vectorFloats * vectorFloats;
    const std::size_t rows = m_resolutionLengths.size() * (windowType == kAsymmetric ? 2 : 1);
    m_kernels.assign(rows * static_cast<std::size_t>(m_kernelStride), 0.0f);
    m_extended.assign(static_cast<std::size_t>(m_fftLen + m_kernelStride), 0.0f);
    if (windowType == kAsymmetric) m_rotated = m_extended;
    const int longest = *std::max_element(m_resolutionLengths.begin(), m_resolutionLengths.end());
    std::vector<float> window(static_cast<std::size_t>(longest));
    for (int r = 0; r < resolutionCount(); ++r) buildKernel(r, windowType, padFactor, centred, window.data());
    m_kernelLength = length;
    m_windowType = windowType;
    m_padFactor = padFactor;
}

// The first taps of the window's spectrum. A symmetric window in zero-phase position has a real one.
void MRSpectrum::buildKernel(int resolution, char windowType, float padFactor, bool centred, float* window) {
    const long length = windowLength(resolution);
    GetWindow(length, windowType, &window, false, false);
    float* spectrum = m_kernelWork.get();
    spectrum[1] = 0.0f;
    placeForTransform(spectrum, m_fftLen, length, centred, [=](long i) { return window[i]; });
    rFFT(spectrum, m_fftLen);

    const int half = m_fftLen / 2;
    const float scale = 1.0f / padFactor;
    float* real = m_kernels.data() + resolution * m_kernelStride;
    float* imaginary = real + resolutionCount() * m_kernelStride;
    for (int t = 0; t < m_taps; ++t) {
        int m = std::abs(t - m_halfTaps) % m_fftLen;
        const bool mirrored = m > half;  // only in transforms shorter than the kernel
        if (mirrored) m = m_fftLen - m;
        const bool isLastBin = m == half && half > 0;
        const float re = (isLastBin ? spectrum[1] : spectrum[2 * m]) * scale;
        real[2 * t] = real[2 * t + 1] = re;
        if (windowType != kAsymmetric) continue;
        // The centre tap takes its imaginary part from element 1, the value at Nyquist: deliberate, and
        // part of what this family's spectra are.
        float im = isLastBin ? 0.0f : spectrum[2 * m + 1] * scale;
        if (t >= m_halfTaps) im = -im;
        if (mirrored) im = -im;
        imaginary[2 * t] = imaginary[2 * t + 1] = im;
    }
}

void MRSpectrum::takeWindows(const MRSpectrum& other) {
    m_frameWindow.reset(newFloats(other.m_frameLength));
    std::copy_n(other.m_frameWindow.get(), other.m_frameLength, m_frameWindow.get());
    m_frameLength = other.m_frameLength;
    m_kernelLength = other.m_kernelLength;
    m_windowType = other.m_windowType;
    m_padFactor = other.m_padFactor;
    m_fftLen = other.m_fftLen;
    m_binResolutions = other.m_binResolutions;
    m_resolutionLengths = other.m_resolutionLengths;
    m_kernels = other.m_kernels;
    m_kernelStride = other.m_kernelStride;
    m_taps = other.m_taps;
    m_halfTaps = other.m_halfTaps;
    m_extended = other.m_extended;
    m_rotated = other.m_rotated;
    allocateFrameArrays(m_windowType);
}

}  // namespace KaTessel
