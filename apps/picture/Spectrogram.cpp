#include "apps/picture/Spectrogram.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "katessel/MRSpectrum.h"

namespace katessel {

namespace {

constexpr double kWindowSeconds = 0.05;    // separates the harmonics of a low voice, 80 Hz apart
constexpr double kFrameSeconds = 0.01;     // a column this long needs one frame
constexpr double kMostFrames = 8.0;        // of a column, however long
constexpr int kPadding = 4;                // transform length / window length: smooth ridges on a linear axis
constexpr int kLargestTransform = 131072;  // of MRSpectrum::rFFT

// Levels of one frame after the other, by bin.
class Analyser {
public:
    explicit Analyser(const Recording& recording) : m_recording(recording) {
        const int wanted = std::max(static_cast<int>(kWindowSeconds * recording.rate), 3);
        while (m_transform < std::min(wanted * kPadding, kLargestTransform)) m_transform *= 2;
        m_window.resize(static_cast<std::size_t>(std::min(wanted, m_transform)));
        KaTessel::MRSpectrum::BlackmanHarris62(static_cast<long>(m_window.size()), m_window.data());
        double sum = 0.0;
        for (const float w : m_window) sum += w;
        m_scale = 2.0 / sum;
        m_data.resize(static_cast<std::size_t>(m_transform));
    }

    double binsPerHertz() const { return static_cast<double>(m_transform) / m_recording.rate; }
    int bins() const { return m_transform / 2; }

    // Peak hold: where the frame around `time` [s] is louder, its level replaces that in `levels`, one per bin [dB].
    void holdPeaks(double time, std::vector<float>& levels) {
        const std::int64_t first =
            std::llround(time * m_recording.rate) - static_cast<std::int64_t>(m_window.size()) / 2;
        std::fill(m_data.begin(), m_data.end(), 0.0f);
        for (std::size_t i = 0; i < m_window.size(); ++i) {
            const std::int64_t at = first + static_cast<std::int64_t>(i);
            if (at >= 0 && at < m_recording.length())
                m_data[i] = m_window[i] * m_recording.samples[static_cast<std::size_t>(at)];
        }
        m_spectrum.rFFT(m_data.data(), m_transform);
        m_data[1] = 0.0f;  // the value at half the sample rate; bin 0 is real
        for (std::size_t k = 0; k < levels.size(); ++k) {
            const double magnitude = m_scale * std::hypot(m_data[2 * k], m_data[2 * k + 1]);
            levels[k] = std::max(levels[k], static_cast<float>(20.0 * std::log10(magnitude + 1e-10)));
        }
    }

private:
    const Recording& m_recording;
    KaTessel::MRSpectrum m_spectrum;
    int m_transform = 4;
    double m_scale = 1.0;
    std::vector<float> m_window;
    std::vector<float> m_data;  // m_transform, laid out as MRSpectrum says
};

// The loudest level between two places, in bins.
float loudest(const std::vector<float>& levels, double low, double high) {
    const double middle = 0.5 * (low + high);
    const auto last = static_cast<std::size_t>(levels.size() - 1);
    const auto below = static_cast<std::size_t>(middle);
    if (below >= last) return kSilentLevel;
    const double fraction = middle - std::floor(middle);
    auto level = static_cast<float>((1.0 - fraction) * levels[below] + fraction * levels[below + 1]);
    for (auto k = static_cast<std::size_t>(std::ceil(low)); k <= std::min(static_cast<std::size_t>(high), last); ++k)
        level = std::max(level, levels[k]);
    return level;
}

}  // namespace

Spectrogram makeSpectrogram(const Recording& recording, double start, double duration, const FrequencyScale& scale,
                            int columns, int rows, const OnProgress& onProgress) {
    Analyser analyser(recording);
    Spectrogram picture{columns, rows, {}};
    picture.levels.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    std::vector<double> edges;  // of the rows from the top down [bins]
    for (int r = 0; r <= rows; ++r)
        edges.push_back(scale.frequencyAt(1.0 - static_cast<double>(r) / rows) * analyser.binsPerHertz());
    const double width = duration / columns;
    const int frames = static_cast<int>(std::clamp(std::ceil(width / kFrameSeconds), 1.0, kMostFrames));
    for (int c = 0; c < columns; ++c) {
        std::vector<float> levels(static_cast<std::size_t>(analyser.bins()), kSilentLevel);
        for (int f = 0; f < frames; ++f) analyser.holdPeaks(start + width * (c + (f + 0.5) / frames), levels);
        for (int r = 0; r < rows; ++r) {
            const auto i = static_cast<std::size_t>(r);
            picture.levels[i * static_cast<std::size_t>(columns) + static_cast<std::size_t>(c)] =
                loudest(levels, edges[i + 1], edges[i]);
        }
        onProgress(width * (c + 1));
    }
    return picture;
}

}  // namespace katessel
