// Frames of `channels` values one after the other, with padding before the first.
#pragma once

#include <vector>

namespace KaTessel {

class FrameBlock {
public:
    // Makes the block `frames` frames of zeros, with `padding` frames before them.
    void reset(int frames, int channels, int padding = 0);

    // The same, the frames with any contents.
    void resize(int frames, int channels, int padding = 0);

    // Takes frames from a sequence, beginning with number `start` and going around its end; frames that are shorter
    // than `channels` are filled up with zeros.
    void assign(const std::vector<std::vector<float>>& sequence, int channels, int padding, int start = 0);

    std::vector<std::vector<float>> toSequence() const;

    int frames() const { return m_frames; }
    int channels() const { return m_channels; }
    int padding() const { return m_padding; }
    float* frame(int t) { return m_data.data() + static_cast<long>(m_padding + t) * m_channels; }
    const float* frame(int t) const { return m_data.data() + static_cast<long>(m_padding + t) * m_channels; }
    long size() const { return static_cast<long>(m_frames) * m_channels; }  // [floats] of the frames themselves

    // Fills the padding with copies of frame 0: what a convolution reads before the start.
    void replicateFirstFrame();

private:
    std::vector<float> m_data;
    int m_frames = 0, m_channels = 0, m_padding = 0;
};

}  // namespace KaTessel
