#include "dsp/FrameSpectrum.h"

#include <math.h>

namespace KaTessel {
namespace {

using kernels::kFrameTaps;

constexpr int kLast = kernels::kFramePoints;  // bin of the Nyquist frequency
constexpr int kSide = (kFrameTaps - 1) / 2;   // taps on either side of a bin
constexpr int kFront = 32;                    // floats before bin 0, which is aligned that way
static_assert(kFront >= kSide);

// Bins beyond either end are the mirrored ones, deliberately without conjugation.
void mirror(float* bins) {
    for (int k = 1; k <= kSide; ++k) {
        bins[-k] = bins[k];
        bins[kLast + k] = bins[kLast - k];
    }
}

}  // namespace

FrameSpectrum::FrameSpectrum(const kernels::Kernels& vec, const MRSpectrum& prepared)
    : m_vec(vec), m_factors(vec.lanes) {
    const int lanes = vec.lanes;
    const float scale = prepared.frameWindow()[0];  // rectangular
    const auto tap = [&](int bin, int t) { return scale * prepared.kernel(prepared.resolutionOfBin(bin))[2 * t]; };
    for (int k = 0; k < kLast; k += lanes) {
        const bool own = prepared.resolutionOfBin(k) != prepared.resolutionOfBin(k + lanes - 1);
        const bool goesOn = !m_runs.empty() && m_runs.back().ownTaps == own &&
                            (own || prepared.resolutionOfBin(k) == prepared.resolutionOfBin(k - 1));
        if (goesOn)
            m_runs.back().bins += lanes;
        else
            m_runs.push_back({k, lanes, own, static_cast<long>(m_taps.size())});
        if (goesOn && !own) continue;
        for (int t = 0; t < kFrameTaps; ++t)
            for (int l = 0; l < (own ? lanes : 1); ++l) m_taps.push_back(tap(k + l, t));
    }
}

void FrameSpectrum::process(const float* samples, float* complexSpectrum, float* magnitude) const {
    alignas(64) float re[kFront + kLast + 1 + kSide], im[kFront + kLast + 1 + kSide];
    m_vec.transformFrame(re + kFront, im + kFront, samples, m_factors);
    mirror(re + kFront);
    mirror(im + kFront);
    const float *firstRe = re + kFront - kSide, *firstIm = im + kFront - kSide;
    for (const Run& run : m_runs)
        m_vec.convolveFrame(complexSpectrum + 2 * run.firstBin, magnitude + run.firstBin, firstRe + run.firstBin,
                            firstIm + run.firstBin, m_taps.data() + run.taps, run.ownTaps, run.bins);
    // DC and Nyquist are real and stand at the front.
    complexSpectrum[1] = m_vec.dot(m_taps.data() + m_runs.back().taps, firstRe + kLast, kFrameTaps);
    magnitude[0] = fabsf(complexSpectrum[0]);
    magnitude[kLast] = fabsf(complexSpectrum[1]);
}

}  // namespace KaTessel
