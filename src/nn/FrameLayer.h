// A convolution over whole blocks of frames, as matrix products.
#pragma once

#include <vector>

namespace KaTessel {

// Frames of `channels` values one after the other, with padding before the first.
class FrameBlock {
public:
    // Makes the block `frames` frames of zeros, with `padding` frames before them.
    void reset(int frames, int channels, int padding = 0);

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

// Weights of one convolution, or of several that read the same input, packed for the products.
class FrameLayer {
public:
    FrameLayer(int kernel, int nIn) : m_kernel(kernel), m_nIn(nIn) {}

    // Appends nOut outputs: `kernel` taps of nOut rows of nIn weights, and nOut biases or null.
    void add(const float* W, const float* bias, int nOut);

    int outputs() const { return m_nOut; }

    // Frames that a convolution of this kernel reaches back.
    static int span(int kernel, int dilation) { return (kernel - 1) * dilation; }
    // Frames by which its output is shifted towards the start: half the span for odd kernels (centred), all of it
    // for even ones.
    static int shift(int kernel, int dilation);

    // out[u] = bias + sum over taps k of W[k] in[max(u + shift - k * dilation, 0)]; the last `shift` frames, for which
    // there is no input, become zeros (without bias). When there are no more than `shift` frames, frame 0 takes the
    // last input as its newest.
    //   in   must have span() frames of padding; replicateFirstFrame() is called on it
    //   out  outputs() channels, as many frames as `in`; its frames are set to zero first unless accumulated to
    void apply(FrameBlock& in, int dilation, FrameBlock& out, bool accumulate = false);

private:
    void pack(int panel);  // into panels of so many outputs

    struct Part {
        const float* W;
        const float* bias;
        int nOut;
    };
    int m_kernel, m_nIn, m_nOut = 0;
    std::vector<Part> m_parts;
    std::vector<float> m_packed, m_bias;
    int m_panel = 0;  // what m_packed was made for
};

}  // namespace KaTessel
