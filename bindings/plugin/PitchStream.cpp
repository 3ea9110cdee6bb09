#include "PitchStream.h"

#include <katessel/Globals.h>

#include <algorithm>
#include <cmath>

namespace katessel::plugin {

namespace {

constexpr std::size_t kPiece = 32;  // [samples] at a time, so that few rows wait however long a block is

// Decides at once: nothing would be lost with a filter that is replaced.
KaTessel::VoicingFilter<KaTessel::Pitch> voicingAt(float threshold) {
    return KaTessel::VoicingFilter<KaTessel::Pitch>({threshold, KaTessel::usualVoicing(KaTessel::Form::live)});
}

}  // namespace

PitchStream::PitchStream(int rate) : m_tracker(rate), m_voicing(voicingAt(0.5f)), m_notes(1) {
    // Nobody asks a plug-in how long its network takes, and its engine is its own.
    static const bool isQuiet = (KaTessel::performance_analysis_ = 0, true);
    static_cast<void>(isQuiet);
    restart(NoteDecoder::kMostLag);
    m_delay.resize(m_latency + kPiece);
}

std::int64_t PitchStream::firstSampleOf(std::int64_t row) const {
    constexpr int kRows = KaTessel::facts::kFramesPerSecond;
    return (row * rate() + kRows - 1) / kRows;
}

void PitchStream::restart(int lookAhead) {
    m_tracker.reset();
    m_notes = NoteDecoder(lookAhead);
    m_latency = static_cast<std::size_t>(m_tracker.latency() + firstSampleOf(lookAhead));
    m_passed = 0;
    m_waiting = 0;
    std::fill(m_delay.begin(), m_delay.end(), 0.0f);
}

void PitchStream::setThreshold(float threshold) { m_voicing = voicingAt(threshold); }

void PitchStream::decide(const PitchRow& row) {
    const std::optional<NotedRow> decided = m_notes.add(row);
    if (!decided) return;
    const std::int64_t index = std::llround(decided->row.time * KaTessel::facts::kFramesPerSecond);
    m_placed.at(m_waiting++) = {firstSampleOf(index) + static_cast<std::int64_t>(m_latency), *decided};
}

void PitchStream::analyse(const float* in, std::size_t count) {
    std::array<float, kPiece> piece;
    std::transform(in, in + count, piece.begin(),
                   [](float sample) { return std::fabs(sample) <= KaTessel::Tracker::kLargestSample ? sample : 0.0f; });
    const auto take = [&](const KaTessel::Pitch& pitch, bool voiced) {
        decide({pitch.time, voiced ? pitch.frequency : 0.0f, pitch.confidence});
    };
    m_tracker.process(piece.data(), count,
                      [&](const KaTessel::Pitch& pitch) { m_voicing.add(pitch, pitch.confidence, take); });
}

void PitchStream::process(const float* in, float* out, std::uint32_t count, const OnRow& onRow) {
    for (std::uint32_t at = 0; at < count;) {
        const std::size_t length = std::min<std::size_t>(kPiece, count - at);
        analyse(in + at, length);
        for (std::size_t i = 0; i < length; ++i) {
            const auto newest = static_cast<std::size_t>(m_passed) + i;
            m_delay[newest % m_delay.size()] = in[at + i];
            out[at + i] = m_delay[(newest + m_delay.size() - m_latency) % m_delay.size()];
        }
        const std::int64_t end = m_passed + static_cast<std::int64_t>(length);
        std::size_t due = 0;
        for (; due < m_waiting && m_placed[due].sample < end; ++due)
            onRow(at + static_cast<std::uint32_t>(m_placed[due].sample - m_passed), m_placed[due].row);
        std::copy(m_placed.begin() + static_cast<std::ptrdiff_t>(due),
                  m_placed.begin() + static_cast<std::ptrdiff_t>(m_waiting), m_placed.begin());
        m_waiting -= due;
        m_passed = end;
        at += static_cast<std::uint32_t>(length);
    }
}

}  // namespace katessel::plugin
