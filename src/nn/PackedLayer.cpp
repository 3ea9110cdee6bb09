#include "nn/PackedLayer.h"

#include <algorithm>

namespace KaTessel {

PackedLayer::PackedLayer(const kernels::Kernels& vec, int kernel, int nIn, const std::vector<LayerPart>& parts)
    : m_vec(vec), m_kernel(kernel), m_nIn(nIn) {
    for (const LayerPart& part : parts) m_nOut += part.nOut;
    const int rows = kernel * nIn, block = vec.blockVectors * vec.lanes;
    const int whole = (m_nOut + vec.lanes - 1) / vec.lanes * vec.lanes;
    m_packed = AlignedFloats(static_cast<std::size_t>(whole) * static_cast<std::size_t>(rows));
    m_bias.reserve(static_cast<std::size_t>(m_nOut));
    int output = 0;
    for (const LayerPart& part : parts)
        for (int o = 0; o < part.nOut; ++o, ++output) {
            const int first = output - output % block, width = std::min(whole - first, block);
            float* column = m_packed.data() + static_cast<long>(first) * rows + (output - first);
            for (int k = 0; k < kernel; ++k)
                for (int i = 0; i < nIn; ++i)
                    column[(k * nIn + i) * width] = part.W[(static_cast<long>(k) * part.nOut + o) * nIn + i];
            m_bias.push_back(part.bias != nullptr ? part.bias[o] : 0.0f);
        }
}

void PackedLayer::apply(float* out, const float* const* in, bool accumulate) const {
    m_vec.frameProduct(out, 0, 1, m_nOut, m_packed.data(), in, 0, m_kernel, m_nIn, m_bias.data(), accumulate);
}

int PackedLayer::shift(int kernel, int dilation) {
    return kernel % 2 != 0 ? span(kernel, dilation) / 2 : span(kernel, dilation);
}

void PackedLayer::apply(FrameBlock& in, int dilation, FrameBlock& out, bool accumulate) const {
    const int frames = in.frames();
    if (!accumulate) out.resize(frames, m_nOut, out.padding());
    if (frames == 0) return;
    in.replicateFirstFrame();

    const int shiftFrames = shift(m_kernel, dilation);
    const int newest = std::min(shiftFrames, frames - 1);  // input frame that output frame 0 sees through tap 0
    const int computed = std::max(frames - shiftFrames, 1);
    if (!accumulate) std::fill(out.frame(computed), out.frame(frames), 0.0f);
    std::vector<const float*> inputs;
    for (int k = 0; k < m_kernel; ++k) inputs.push_back(in.frame(newest - k * dilation));
    m_vec.frameProduct(out.frame(0), m_nOut, computed, m_nOut, m_packed.data(), inputs.data(), m_nIn, m_kernel, m_nIn,
                       m_bias.data(), accumulate);
}

}  // namespace KaTessel
