#include "nn/WaveNet2Sequence.h"

#include <algorithm>

#include "nn/WaveNet2Parts.h"

namespace KaTessel {

SequenceNetwork::SequenceNetwork(const PackedNetwork& net)
    : m_net(net), m_context(PackedLayer::span(net.initialKernel, 1)) {
    for (const PackedNetwork::Layer& layer : net.layers) {
        const int span = PackedLayer::span(net.kernel, layer.dilation);
        const int shift = PackedLayer::shift(net.kernel, layer.dilation);
        m_context += std::max(shift, span - shift);
    }
}

int SequenceNetwork::padding() const { return PackedLayer::span(m_net.initialKernel, 1); }

void SequenceNetwork::report(const char* name, int layer, const FrameBlock& block) const {
    if (onSequence) onSequence(name, layer, block);
}

void SequenceNetwork::process(FrameBlock& in, FrameBlock& out) {
    const kernels::Kernels& vec = m_net.vec;
    const int frames = in.frames(), S = m_net.nSkip;
    int longest = 0;
    for (const PackedNetwork::Layer& layer : m_net.layers)
        longest = std::max(longest, PackedLayer::span(m_net.kernel, layer.dilation));
    m_stream.resize(frames, m_net.nResidual, longest);
    m_net.initial.apply(in, 1, m_stream);
    report("INITIAL_CONV", -1, m_stream);
    if (m_net.tanhInitial) vec.tanh(m_stream.frame(0), static_cast<int>(m_stream.size()));

    out.reset(frames, S);
    for (int l = 0; l < m_net.nLayers; ++l) runLayer(l, out);

    // The mean is over all layers; the streaming form divides by the layers with a skip output.
    for (int t = 0; t < frames; ++t) {
        float* sum = out.frame(t);
        if (m_net.meanSkip)
            for (int i = 0; i < S; ++i) sum[i] /= static_cast<float>(m_net.nLayers);
        if (!m_net.skipBias.empty()) vec.accumulate(sum, m_net.skipBias.data(), S);
    }
    report("SKIPSUM", -1, out);
}

void SequenceNetwork::runLayer(int index, FrameBlock& out) {
    const PackedNetwork::Layer& layer = m_net.layers[static_cast<std::size_t>(index)];
    const kernels::Kernels& vec = m_net.vec;
    const int frames = m_stream.frames(), R = m_net.nResidual;
    layer.gates.apply(m_stream, layer.dilation, m_gates);
    m_gated.resize(frames, R);
    for (int t = 0; t < frames; ++t) vec.gated(m_gated.frame(t), m_gates.frame(t), m_gates.frame(t) + R, R);
    // Every layer with skip weights contributes, whatever firstSkipLayer says.
    if (layer.skip.outputs() > 0) layer.skip.apply(m_gated, 1, out, true);
    // The residual is the layer's input of the same frame; the streaming form takes the oldest one.
    vec.scaledSum(m_stream.frame(0), m_stream.frame(0), m_gated.frame(0), kSqrtHalf, static_cast<int>(m_stream.size()));
    report("DILCONVOUT", index, m_gated);
    report("LAYEROUT", index, m_stream);
}

}  // namespace KaTessel
