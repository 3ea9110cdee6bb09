#include "dsp/LaneSpectrum.h"

#include <algorithm>

namespace KaTessel {

LaneSpectrum::LaneSpectrum(const kernels::Kernels& vec, const MRSpectrum& prepared, int length, int bins)
    : m_spectrum(prepared),
      m_vec(vec),
      m_length(length),
      m_bins(bins),
      m_taps(prepared.kernelTaps()),
      m_lanes(m_vec.lanes),
      m_work(static_cast<std::size_t>((prepared.transformLength() + m_taps - 1) * m_lanes)),
      m_convolved(static_cast<std::size_t>(2 * bins * m_lanes)),
      m_magnitude(static_cast<std::size_t>(bins * m_lanes)) {}

void LaneSpectrum::place(float* to, const float* samples, const float* window, int hop, int count) {
    const int whole = count - count % kernels::kMaxLanes;
    m_vec.placeLanes(to, samples, hop, window[0], whole);  // rectangular
    for (int i = whole; i < count; ++i)
        for (int f = 0; f < m_lanes; ++f) to[i * m_lanes + f] = window[i] * samples[f * hop + i];
}

const float* LaneSpectrum::process(const float* samples, int hop) {
    const int n = m_spectrum.transformLength(), centre = (m_length - 1) / 2, side = (m_taps - 1) / 2;
    const float* window = m_spectrum.frameWindow();
    float* work = m_work.data() + 2 * side * m_lanes;  // bin 0; before it the mirrored ones
    place(work + (n - centre) * m_lanes, samples, window, hop, centre);
    place(work, samples + centre, window + centre, hop, centre);
    std::fill(work + centre * m_lanes, work + (n - centre) * m_lanes, 0.0f);
    m_vec.transformLanes(work, n);
    std::fill_n(work + m_lanes, m_lanes, 0.0f);  // there the layout holds Nyquist
    // Without conjugation, as in the analysis of a single frame.
    for (int k = 1; k <= side; ++k) std::copy_n(work + 2 * k * m_lanes, 2 * m_lanes, work - 2 * k * m_lanes);
    for (int first = 0; first < m_bins;) {
        const int resolution = m_spectrum.resolutionOfBin(first);
        int end = first + 1;
        while (end < m_bins && m_spectrum.resolutionOfBin(end) == resolution) ++end;
        m_vec.convolveLanes(m_convolved.data() + 2 * first * m_lanes, m_work.data() + 2 * first * m_lanes,
                            m_spectrum.kernel(resolution), m_taps, end - first);
        first = end;
    }
    // DC is real.
    std::fill_n(m_convolved.data() + m_lanes, m_lanes, 0.0f);
    m_vec.magnitudeLanes(m_magnitude.data(), m_convolved.data(), m_bins);
    return m_magnitude.data();
}

}  // namespace KaTessel
