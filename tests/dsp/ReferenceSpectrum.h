// The multi-resolution spectrum by its definition, in double precision: every bin is convolved by itself.
#pragma once

#include <cmath>
#include <complex>
#include <cstdlib>
#include <map>
#include <vector>

#include "dsp/ReferenceTransform.h"
#include "dsp/WindowReference.h"

namespace KaTessel::tests {

struct SpectrumArguments {
    int length;
    int windowType = 10;
    float padFactor = 1.0f;
    bool centred = true;
    float sampleRate = 12000.0f;
};

class ReferenceSpectrum {
public:
    explicit ReferenceSpectrum(const SpectrumArguments& arguments) : m_arguments(arguments) {
        const float pad = arguments.padFactor;
        const int below = static_cast<int>(static_cast<float>(arguments.length - 1) * pad - 1.0f);
        while (fftLen <= below && fftLen < 131072) fftLen *= 2;
        half = fftLen / 2;
        taps = static_cast<int>(pad * 40.0f + 1.0f);
        planLengths();
        buildKernels();
    }

    int fftLen = 1;
    int half = 0;
    int taps = 0;
    std::vector<int> binLengths;  // window length of every bin

    // Bins 0 .. half; those at the ends are real. The kernels stay as they were built when `centred` is not the same.
    Points spectrum(const std::vector<float>& frame, bool centred) const {
        const std::vector<double> window = referenceWindow(14, m_arguments.length);
        std::vector<double> windowed;
        for (std::size_t i = 0; i < frame.size(); ++i) windowed.push_back(static_cast<double>(frame[i]) * window[i]);
        const Points x = definedTransform(placed(windowed, centred), -1);

        Points bins;
        for (int k = 0; k <= half; ++k) {
            const Points& kernel = m_kernels.at(binLengths[static_cast<std::size_t>(k)]);
            std::complex<double> sum = 0.0;
            for (int t = 0; t < taps; ++t) {
                int source = std::abs(k - (taps - 1) / 2 + t) % fftLen;
                if (source > half) source = fftLen - source;
                // Mirrored bins are taken as they are stored, without conjugation.
                sum += kernel[static_cast<std::size_t>(t)] * x.at(static_cast<std::size_t>(source));
            }
            bins.push_back(k == 0 || k == half ? sum.real() : sum);
        }
        return bins;
    }

private:
    // Zero-phase position: the centre goes to sample 0, what lies before it to the end, the last of an odd number of
    // samples nowhere. Where both halves meet, what lies behind the centre remains; what does not fit is left out.
    Points placed(const std::vector<double>& x, bool centred) const {
        Points work(static_cast<std::size_t>(fftLen));
        const int size = static_cast<int>(x.size()), centre = (size - 1) / 2;
        const auto put = [&](int at, int from) {
            if (at >= 0 && at < fftLen) work[static_cast<std::size_t>(at)] = x[static_cast<std::size_t>(from)];
        };
        if (centred) {
            for (int i = 0; i < centre; ++i) put(fftLen - centre + i, i);
            for (int i = centre; i < 2 * centre; ++i) put(i - centre, i);
        } else {
            for (int i = 0; i < std::min(size, fftLen); ++i) put(i, i);
        }
        return work;
    }

    void planLengths() {
        const float rate = m_arguments.sampleRate;
        const int length = m_arguments.length;
        const float spacing = rate * 0.5f / static_cast<float>(half);
        const int low = static_cast<int>(200.0f / spacing), high = static_cast<int>(1000.0f / spacing);
        const int change = static_cast<int>(0.023219954f * rate) - length;
        // Single steps in float: the lengths are truncated, and some lie within rounding of a whole number.
        const volatile float slope = 1.0f / static_cast<float>(high - low) * static_cast<float>(change);
        for (int k = 0; k <= half; ++k) {
            const volatile float shorter = static_cast<float>(k - low) * slope;
            const int raw = k <= low    ? length
                            : k <= high ? static_cast<int>(static_cast<float>(length) + shorter)
                                        : length + change;
            binLengths.push_back(raw % 2 == 0 ? raw + 1 : raw);
        }
    }

    void buildKernels() {
        const int middle = (taps - 1) / 2;
        const double scale = 1.0 / static_cast<double>(m_arguments.padFactor);
        for (int length : binLengths) {
            Points& kernel = m_kernels[length];
            if (!kernel.empty()) continue;
            const Points window = placed(referenceWindow(m_arguments.windowType, length), m_arguments.centred);
            const Points w = definedTransform(window, -1);
            for (int t = 0; t < taps; ++t) {
                const std::complex<double> value = w[static_cast<std::size_t>(std::abs(t - middle) % fftLen)];
                if (m_arguments.windowType != 15)
                    kernel.push_back(value.real() * scale);
                else if (t < middle)
                    kernel.push_back(value * scale);
                else if (t > middle)
                    kernel.push_back(std::conj(value) * scale);
                else  // bin 0 shares its place with the value at half the rate, which lands in the imaginary part
                    kernel.push_back(std::complex<double>(value.real(), -w[window.size() / 2].real()) * scale);
            }
        }
    }

    SpectrumArguments m_arguments;
    std::map<int, Points> m_kernels;  // by window length
};

}  // namespace KaTessel::tests
