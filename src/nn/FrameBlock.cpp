#include "nn/FrameBlock.h"

#include <algorithm>

namespace KaTessel {

void FrameBlock::resize(int frames, int channels, int padding) {
    m_frames = frames;
    m_channels = channels;
    m_padding = padding;
    m_data.resize(static_cast<std::size_t>(frames + padding) * static_cast<std::size_t>(channels));
}

void FrameBlock::reset(int frames, int channels, int padding) {
    resize(frames, channels, padding);
    std::fill(m_data.begin(), m_data.end(), 0.0f);
}

void FrameBlock::assign(const std::vector<std::vector<float>>& sequence, int channels, int padding, int start) {
    const int n = static_cast<int>(sequence.size());
    reset(n, channels, padding);
    for (int t = 0; t < n; ++t) {
        const int at = ((t + start % n) % n + n) % n;
        const std::vector<float>& from = sequence[static_cast<std::size_t>(at)];
        std::copy_n(from.begin(), std::min(static_cast<int>(from.size()), channels), frame(t));
    }
}

std::vector<std::vector<float>> FrameBlock::toSequence() const {
    std::vector<std::vector<float>> sequence;
    sequence.reserve(static_cast<std::size_t>(m_frames));
    for (int t = 0; t < m_frames; ++t) sequence.emplace_back(frame(t), frame(t) + m_channels);
    return sequence;
}

void FrameBlock::replicateFirstFrame() {
    if (m_frames == 0) return;
    for (int t = 1; t <= m_padding; ++t) std::copy_n(frame(0), m_channels, frame(-t));
}

}  // namespace KaTessel
