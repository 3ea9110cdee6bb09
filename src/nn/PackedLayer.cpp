#include "nn/PackedLayer.h"

#include <algorithm>
#include <cstring>

namespace KaTessel {

PackedLayer::PackedLayer(const kernels::Kernels& vec, int kernel, int nIn, const std::vector<LayerPart>& parts)
    : m_vec(vec), m_kernel(kernel), m_nIn(nIn) {
    for (const LayerPart& part : parts) m_nOut += part.nOut;
    m_packed = AlignedFloats(static_cast<std::size_t>(wholeVectors()) * static_cast<std::size_t>(kernel * nIn));
    forEachRun(parts, [this, nIn](long at, int width, const float* from, int outputs) {
        for (int i = 0; i < nIn; ++i, at += width)
            for (int o = 0; o < outputs; ++o) m_packed.data()[at + o] = from[o * nIn + i];
        return true;
    });
    m_bias = biases(parts);
}

template <class Visit>
bool PackedLayer::forEachRun(const std::vector<LayerPart>& parts, Visit visit) const {
    const int block = m_vec.blockVectors * m_vec.lanes, whole = wholeVectors();
    int output = 0;
    for (const LayerPart& part : parts)
        for (int o = 0; o < part.nOut;) {
            const int first = output - output % block, width = std::min(whole - first, block);
            const int run = std::min({part.nOut - o, first + width - output, m_vec.lanes - output % m_vec.lanes});
            for (int k = 0; k < m_kernel; ++k) {
                const long at = static_cast<long>(first) * m_kernel * m_nIn + static_cast<long>(k) * m_nIn * width;
                const float* from = part.W + (static_cast<long>(k) * part.nOut + o) * m_nIn;
                if (!visit(at + output - first, width, from, run)) return false;
            }
            o += run;
            output += run;
        }
    return true;
}

std::vector<float> PackedLayer::biases(const std::vector<LayerPart>& parts) {
    std::vector<float> all;
    for (const LayerPart& part : parts)
        for (int o = 0; o < part.nOut; ++o) all.push_back(part.bias != nullptr ? part.bias[o] : 0.0f);
    return all;
}

bool PackedLayer::holds(const std::vector<LayerPart>& parts) const {
    if (biases(parts) != m_bias) return false;
    return forEachRun(parts, [this](long at, int width, const float* from, int outputs) {
        // In tiles, of as many outputs as a vector has lanes; what is no whole tile one by one.
        constexpr int kInputs = kernels::kMaxLanes;
        alignas(64) float turned[kInputs * kernels::kMaxLanes];
        const int whole = outputs == m_vec.lanes ? m_nIn - m_nIn % kInputs : 0;
        const std::size_t bytes = static_cast<std::size_t>(outputs) * sizeof(float);
        for (int first = 0; first < whole; first += kInputs) {
            m_vec.placeLanes(turned, from + first, m_nIn, 1.0f, kInputs);
            for (int i = 0; i < kInputs; ++i)
                if (std::memcmp(m_packed.data() + at + (first + i) * width, turned + i * outputs, bytes) != 0)
                    return false;
        }
        bool same = true;
        for (int i = whole; i < m_nIn; ++i)
            for (int o = 0; o < outputs; ++o) same &= m_packed.data()[at + i * width + o] == from[o * m_nIn + i];
        return same;
    });
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
