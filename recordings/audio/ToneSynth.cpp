#include "recordings/audio/ToneSynth.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace katessel {

namespace {

constexpr double kFadeSeconds = 0.01;
constexpr double kLongestGap = 0.03;      // [s] between rows that belong together
constexpr int kHarmonics = 8;             // falling by 6 dB per octave
constexpr double kHighestPartial = 0.45;  // [of the rate] what lies above is left out
constexpr std::size_t kSamplesPerReport = 1 << 14;
constexpr double kTurn = 2.0 * std::numbers::pi;

// Frequency and level at one instant.
struct Target {
    double frequency = 0.0;  // [Hz]; 0: none
    double level = 0.0;
};

// The track as a function of time, asked for with rising times.
class Contour {
public:
    Contour(const PitchTrack& track, const std::vector<float>& levels) : m_track(track), m_levels(levels) {}

    Target at(double time) {
        while (m_next < m_track.size() && m_track[m_next].time <= time) ++m_next;
        if (m_next == 0) return nearby(0, time);
        if (m_next == m_track.size()) return nearby(m_next - 1, time);
        const PitchRow& before = m_track[m_next - 1];
        const PitchRow& after = m_track[m_next];
        const double gap = after.time - before.time;
        const double fraction = (time - before.time) / gap;
        const bool connected = before.frequency > 0.0f && after.frequency > 0.0f && gap <= kLongestGap;
        if (!connected) return nearby(fraction < 0.5 ? m_next - 1 : m_next, time);
        return {before.frequency * std::pow(static_cast<double>(after.frequency) / before.frequency, fraction),
                (1.0 - fraction) * m_levels[m_next - 1] + fraction * m_levels[m_next]};
    }

private:
    Target nearby(std::size_t row, double time) const {
        if (row >= m_track.size() || std::fabs(m_track[row].time - time) > 0.5 * kLongestGap) return {};
        return {m_track[row].frequency, m_levels[row]};
    }

    const PitchTrack& m_track;
    const std::vector<float>& m_levels;
    std::size_t m_next = 0;  // the first row after the time asked for
};

class Oscillator {
public:
    Oscillator(Waveform waveform, int rate)
        : m_rate(rate),
          m_partials(waveform == Waveform::sine ? 1 : kHarmonics),
          m_fadeStep(1.0 / (kFadeSeconds * rate)) {}

    float next(const Target& target) {
        const bool sounds = target.frequency > 0.0 && target.frequency < kHighestPartial * m_rate;
        if (sounds) m_held = target;  // what fades out goes on as it was
        m_gate = std::clamp(m_gate + (sounds ? m_fadeStep : -m_fadeStep), 0.0, 1.0);
        if (m_gate == 0.0) return 0.0f;
        m_phase += m_held.frequency / m_rate;
        m_phase -= std::floor(m_phase);
        const double fade = 0.5 - 0.5 * std::cos(std::numbers::pi * m_gate);
        return static_cast<float>(fade * m_held.level * wave());
    }

private:
    // Of root mean square 1.
    double wave() const {
        double sum = 0.0, power = 0.0;
        for (int h = 1; h <= m_partials && h * m_held.frequency < kHighestPartial * m_rate; ++h) {
            sum += std::sin(kTurn * h * m_phase) / h;
            power += 0.5 / (h * h);
        }
        return sum / std::sqrt(power);
    }

    int m_rate;  // [Hz]
    int m_partials;
    double m_fadeStep;
    double m_phase = 0.0;  // [turns]
    double m_gate = 0.0;   // 0 silent .. 1 full
    Target m_held;
};

}  // namespace

std::vector<float> followPitch(const PitchTrack& track, const std::vector<float>& levels, Waveform waveform, int rate,
                               std::size_t count, const OnProgress& onProgress) {
    Contour contour(track, levels);
    Oscillator oscillator(waveform, rate);
    std::vector<float> sound(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double time = static_cast<double>(i) / rate;
        sound[i] = oscillator.next(contour.at(time));
        if (i % kSamplesPerReport == 0) onProgress(time);
    }
    return sound;
}

}  // namespace katessel
