#include "recordings/scoring/Scores.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace katessel {

namespace {

constexpr double kCents[3] = {50.0, 25.0, 10.0};
constexpr double kGross = 0.2;

double centsBetween(float estimate, float truth) {
    if (estimate <= 0.0f) return std::numeric_limits<double>::infinity();
    return 1200.0 * std::log2(static_cast<double>(estimate) / static_cast<double>(truth));
}

// Not a number where there is nothing to count.
double ratio(std::int64_t count, std::int64_t all) {
    return all > 0 ? static_cast<double>(count) / static_cast<double>(all) : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace

void Scores::add(const std::vector<float>& truth, const PitchTrack& estimate, VoicingRule rule) {
    const std::vector<bool> voicing = voicedRows(estimate, rule);
    const std::int64_t frames = static_cast<std::int64_t>(std::min(truth.size(), estimate.size()));
    if (m_distances.empty()) m_distances.resize(kCentsSteps + 1);
    for (std::int64_t t = 0; t < frames; ++t) {
        const float hz = truth[static_cast<std::size_t>(t)];
        if (hz < 0.0f) continue;
        const PitchRow& row = estimate[static_cast<std::size_t>(t)];
        const bool voiced = hz > 0.0f;
        const bool reported = voicing[static_cast<std::size_t>(t)];
        ++m_frames;
        ++(voiced ? m_voiced : m_unvoiced);
        if (reported) ++m_reported;
        if (reported) ++(voiced ? m_reportedVoiced : m_reportedUnvoiced);

        const double confidence = std::clamp(static_cast<double>(row.confidence), 0.0, 1.0);
        const int bin = std::min(static_cast<int>(confidence * kCalibrationBins), kCalibrationBins - 1);
        ++m_calibrationFrames[bin];
        m_calibrationSum[bin] += confidence;
        if (!voiced) continue;

        const double cents = centsBetween(row.frequency, hz);
        if (std::fabs(cents) <= kCents[0]) ++m_calibrationRight[bin];
        for (int i = 0; i < 3; ++i)
            if (std::fabs(cents) <= kCents[i]) ++m_within[i];
        if (std::isfinite(cents) && std::fabs(std::remainder(cents, 1200.0)) <= kCents[0]) ++m_chroma;
        if (!reported) continue;
        if (std::fabs(cents) <= kCents[0]) ++m_right;
        if (std::fabs(static_cast<double>(row.frequency) / static_cast<double>(hz) - 1.0) > kGross) ++m_gross;
        ++m_distances[static_cast<std::size_t>(std::min(std::fabs(cents) * 10.0, static_cast<double>(kCentsSteps)))];
    }
    for (int shift = -kMaxShift; shift <= kMaxShift; ++shift)
        for (std::int64_t t = kMaxShift; t + kMaxShift < frames; ++t) {
            const float hz = truth[static_cast<std::size_t>(t)];
            const std::size_t at = static_cast<std::size_t>(t + shift);
            // Close enough that a glide tells neighbouring shifts apart.
            if (hz > 0.0f && voicing[at] && std::fabs(centsBetween(estimate[at].frequency, hz)) <= 10.0)
                ++m_agreeing[shift + kMaxShift];
        }
}

void Scores::add(const Scores& other) {
    m_frames += other.m_frames;
    m_voiced += other.m_voiced;
    m_unvoiced += other.m_unvoiced;
    m_chroma += other.m_chroma;
    m_reported += other.m_reported;
    m_reportedVoiced += other.m_reportedVoiced;
    m_reportedUnvoiced += other.m_reportedUnvoiced;
    m_gross += other.m_gross;
    m_right += other.m_right;
    for (int i = 0; i < 3; ++i) m_within[i] += other.m_within[i];
    if (m_distances.empty()) m_distances.resize(kCentsSteps + 1);
    for (std::size_t i = 0; i < other.m_distances.size(); ++i) m_distances[i] += other.m_distances[i];
    for (int i = 0; i <= 2 * kMaxShift; ++i) m_agreeing[i] += other.m_agreeing[i];
    for (int i = 0; i < kCalibrationBins; ++i) {
        m_calibrationFrames[i] += other.m_calibrationFrames[i];
        m_calibrationRight[i] += other.m_calibrationRight[i];
        m_calibrationSum[i] += other.m_calibrationSum[i];
    }
}

double Scores::rawPitchAccuracy(int cents) const {
    for (int i = 0; i < 3; ++i)
        if (kCents[i] == cents) return ratio(m_within[i], m_voiced);
    return std::numeric_limits<double>::quiet_NaN();
}

double Scores::rawChromaAccuracy() const { return ratio(m_chroma, m_voiced); }
double Scores::grossErrorRate() const { return ratio(m_gross, m_reportedVoiced); }
double Scores::voicingRecall() const { return ratio(m_reportedVoiced, m_voiced); }
double Scores::voicingFalseAlarm() const { return ratio(m_reportedUnvoiced, m_unvoiced); }
double Scores::precision() const { return ratio(m_right, m_reported); }
double Scores::recall() const { return ratio(m_right, m_voiced); }
double Scores::f1() const { return ratio(2 * m_right, m_voiced > 0 ? m_reported + m_voiced : 0); }
double Scores::overallAccuracy() const { return ratio(m_right + m_unvoiced - m_reportedUnvoiced, m_frames); }

double Scores::medianCents() const {
    std::int64_t below = 0;
    for (std::size_t i = 0; i < m_distances.size(); ++i) {
        below += m_distances[i];
        if (2 * below >= m_reportedVoiced && below > 0) return 0.1 * static_cast<double>(i) + 0.05;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

double Scores::offsetSeconds() const {
    const std::int64_t* best = std::max_element(m_agreeing, m_agreeing + 2 * kMaxShift + 1);
    if (*best == 0) return std::numeric_limits<double>::quiet_NaN();
    const std::int64_t i = best - m_agreeing;
    // Between frames: the top of the parabola through the best shift and its neighbours.
    double fraction = 0.0;
    if (i > 0 && i < 2 * kMaxShift) {
        const double before = static_cast<double>(m_agreeing[i - 1]), after = static_cast<double>(m_agreeing[i + 1]);
        const double curvature = before - 2.0 * static_cast<double>(*best) + after;
        if (curvature < 0.0) fraction = 0.5 * (before - after) / curvature;
    }
    return (static_cast<double>(i - kMaxShift) + fraction) * kHopSeconds;
}

std::array<Scores::CalibrationBin, kCalibrationBins> Scores::calibration() const {
    std::array<CalibrationBin, kCalibrationBins> bins;
    for (std::size_t i = 0; i < bins.size(); ++i) {
        bins[i].frames = m_calibrationFrames[i];
        bins[i].right = ratio(m_calibrationRight[i], m_calibrationFrames[i]);
        bins[i].confidence =
            m_calibrationSum[i] / static_cast<double>(std::max<std::int64_t>(m_calibrationFrames[i], 1));
    }
    return bins;
}

double Scores::calibrationError() const {
    double sum = 0.0;
    for (const CalibrationBin& bin : calibration())
        if (bin.frames > 0) sum += static_cast<double>(bin.frames) * std::fabs(bin.confidence - bin.right);
    return m_frames > 0 ? sum / static_cast<double>(m_frames) : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace katessel
