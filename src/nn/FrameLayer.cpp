#include "nn/FrameLayer.h"

#include <algorithm>

#include "kernels/Kernels.h"

namespace KaTessel {

void FrameBlock::reset(int frames, int channels, int padding) {
    m_frames = frames;
    m_channels = channels;
    m_padding = padding;
    m_data.assign(static_cast<std::size_t>(frames + padding) * static_cast<std::size_t>(channels), 0.0f);
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

void FrameLayer::add(const float* W, const float* bias, int nOut) {
    m_parts.push_back({W, bias, nOut});
    m_nOut += nOut;
    m_panel = 0;
}

int FrameLayer::shift(int kernel, int dilation) {
    return kernel % 2 != 0 ? span(kernel, dilation) / 2 : span(kernel, dilation);
}

void FrameLayer::pack(int panel) {
    m_panel = panel;
    const int rows = m_kernel * m_nIn;
    const int panels = (m_nOut + m_panel - 1) / m_panel;
    m_packed.assign(static_cast<std::size_t>(panels) * static_cast<std::size_t>(rows * m_panel), 0.0f);
    m_bias.assign(static_cast<std::size_t>(m_nOut), 0.0f);
    int output = 0;
    for (const Part& part : m_parts) {
        for (int o = 0; o < part.nOut; ++o, ++output) {
            float* column = m_packed.data() + static_cast<long>(output / m_panel) * rows * m_panel + output % m_panel;
            for (int k = 0; k < m_kernel; ++k)
                for (int i = 0; i < m_nIn; ++i)
                    column[(k * m_nIn + i) * m_panel] = part.W[(static_cast<long>(k) * part.nOut + o) * m_nIn + i];
            if (part.bias != nullptr) m_bias[static_cast<std::size_t>(output)] = part.bias[o];
        }
    }
}

void FrameLayer::apply(FrameBlock& in, int dilation, FrameBlock& out, bool accumulate) {
    const kernels::Kernels& vec = *kernels::active;
    if (m_panel != vec.panel) pack(vec.panel);
    const int frames = in.frames();
    if (!accumulate) out.reset(frames, m_nOut, out.padding());
    if (frames == 0) return;
    in.replicateFirstFrame();

    const int shiftFrames = shift(m_kernel, dilation);
    const int newest = std::min(shiftFrames, frames - 1);  // input frame that output frame 0 sees through tap 0
    const int computed = std::max(frames - shiftFrames, 1);
    std::vector<const float*> inputs;
    for (int k = 0; k < m_kernel; ++k) inputs.push_back(in.frame(newest - k * dilation));
    vec.frameProduct(out.frame(0), m_nOut, computed, m_nOut, m_packed.data(), inputs.data(), m_nIn, m_kernel, m_nIn,
                     m_bias.data(), accumulate);
}

}  // namespace KaTessel
