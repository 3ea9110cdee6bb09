#include "engine/SignalReader.h"

#include <algorithm>

namespace KaTessel {
namespace {

constexpr int kPieceOutputs = 4096;      // [samples at 24 kHz] converted at a time, so few that the cache keeps them
constexpr std::int64_t kHistory = 32;    // zeros that the converter starts from
constexpr double kFirstPosition = 16.0;  // of the first output, from the start of those zeros

std::int64_t outputLength(int numSamples, float ratio) {
    return ratio == 1.0f ? numSamples : static_cast<std::int64_t>(static_cast<float>(numSamples) / ratio + 0.5f);
}

// Host sample i, or 0 outside the signal, for the `count` samples from `first` on.
void copyOrZero(const float* input, std::int64_t numSamples, std::int64_t first, std::int64_t count, float* to) {
    const std::int64_t begin = std::clamp(-first, std::int64_t{0}, count),
                       end = std::clamp(numSamples - first, begin, count);
    std::fill(to, to + begin, 0.0f);
    std::copy(input + first + begin, input + first + end, to + begin);
    std::fill(to + end, to + count, 0.0f);
}

}  // namespace

SignalReader::SignalReader(const float* input, int numSamples, float rateRatio, KaResample::CKaResample& filter)
    : m_input(input),
      m_numSamples(numSamples),
      m_ratio(rateRatio),
      m_filter(filter),
      m_length(outputLength(numSamples, rateRatio)),
      m_consumed(-kHistory),
      m_position(kFirstPosition) {}

void SignalReader::convertUntil(std::int64_t end) {
    while (m_start + static_cast<std::int64_t>(m_converted.size()) < end) {
        // Forget what no later call can ask for.
        const std::int64_t keep = std::max(std::int64_t{0}, static_cast<std::int64_t>(m_converted.size()) - kBack);
        m_converted.erase(m_converted.begin(), m_converted.begin() + static_cast<std::ptrdiff_t>(keep));
        m_start += keep;

        const std::size_t have = m_converted.size();
        const std::int64_t left = m_length - m_start - static_cast<std::int64_t>(have);
        const int count = static_cast<int>(std::min<std::int64_t>(kPieceOutputs, left));
        m_converted.resize(have + static_cast<std::size_t>(count));
        const std::int64_t reach =
            static_cast<std::int64_t>(m_position + count * static_cast<double>(m_ratio)) + m_filter.taps + 1;
        const float* host = m_input + std::max(m_consumed, std::int64_t{0});
        if (m_consumed < 0 || m_consumed + reach > m_numSamples) {
            m_piece.resize(static_cast<std::size_t>(reach));
            copyOrZero(m_input, m_numSamples, m_consumed, reach, m_piece.data());
            host = m_piece.data();
        }
        m_position =
            m_filter.interp.render1(host, m_position, static_cast<double>(m_ratio), m_converted.data() + have, count);
        const std::int64_t whole = static_cast<std::int64_t>(m_position);
        m_consumed += whole;
        m_position -= static_cast<double>(whole);
    }
}

void SignalReader::read(std::int64_t position, int count, float* to) {
    if (m_ratio == 1.0f) {
        copyOrZero(m_input, m_numSamples, position, count, to);
        return;
    }
    convertUntil(std::min(position + count, m_length));
    copyOrZero(m_converted.data(), static_cast<std::int64_t>(m_converted.size()), position - m_start, count, to);
}

}  // namespace KaTessel
