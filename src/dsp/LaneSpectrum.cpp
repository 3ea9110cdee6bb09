#include "dsp/LaneSpectrum.h"

#include <algorithm>
#include <cstdlib>

namespace KaTessel {

LaneSpectrum::LaneSpectrum(const MRSpectrum& prepared, int length, int bins)
    : m_spectrum(prepared),
      m_vec(*kernels::active),
      m_length(length),
      m_bins(bins),
      m_taps(prepared.kernelTaps()),
      m_lanes(m_vec.lanes),
      m_work(static_cast<std::size_t>(prepared.transformLength() * m_lanes)),
      m_extended(static_cast<std::size_t>(2 * (bins + m_taps) * m_lanes)),
      m_convolved(static_cast<std::size_t>(2 * bins * m_lanes)),
      m_magnitude(static_cast<std::size_t>(bins * m_lanes)) {}

// Bins below 0 are the mirrored ones, without conjugation, as in the analysis of a single frame.
void LaneSpectrum::extend() {
    const int half = (m_taps - 1) / 2;
    const float* work = m_work.data();
    for (int e = 0; e < m_bins + m_taps - 1; ++e) {
        const int m = std::abs(e - half);
        float* pair = m_extended.data() + 2 * e * m_lanes;
        std::copy_n(work + 2 * m * m_lanes, 2 * m_lanes, pair);
        if (m == 0) std::fill_n(pair + m_lanes, m_lanes, 0.0f);  // there the layout holds Nyquist
    }
}

const float* LaneSpectrum::process(const float* samples, int hop, int frames) {
    const int n = m_spectrum.transformLength(), centre = (m_length - 1) / 2;
    const float* window = m_spectrum.frameWindow();
    float* work = m_work.data();
    for (int i = 0; i < 2 * centre; ++i) {
        float* to = work + (i < centre ? n - centre + i : i - centre) * m_lanes;
        for (int f = 0; f < frames; ++f) to[f] = window[i] * samples[f * hop + i];
        for (int f = frames; f < m_lanes; ++f) to[f] = 0.0f;
    }
    std::fill(work + centre * m_lanes, work + (n - centre) * m_lanes, 0.0f);
    m_vec.transformLanes(work, n);
    extend();
    for (int first = 0; first < m_bins;) {
        const int resolution = m_spectrum.resolutionOfBin(first);
        int end = first + 1;
        while (end < m_bins && m_spectrum.resolutionOfBin(end) == resolution) ++end;
        m_vec.convolveLanes(m_convolved.data() + 2 * first * m_lanes, m_extended.data() + 2 * first * m_lanes,
                            m_spectrum.kernel(resolution), m_taps, end - first);
        first = end;
    }
    // DC is real.
    std::fill_n(m_convolved.data() + m_lanes, m_lanes, 0.0f);
    m_vec.magnitudeLanes(m_magnitude.data(), m_convolved.data(), m_bins);
    return m_magnitude.data();
}

}  // namespace KaTessel
