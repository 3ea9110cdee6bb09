#include "nn/WaveNet2Sequence.h"

#include <algorithm>

#include "kernels/Kernels.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {

SequenceNetwork::SequenceNetwork(const T_WN2& net) : m_net(net), m_initial(net.initialKernel, net.nInputs) {
    m_initial.add(net.initialW, net.initialB, net.nResidual);
    m_context = FrameLayer::span(net.initialKernel, 1);
    for (int l = 0; l < net.nLayers; ++l) {
        const T_WN2_layer& from = net.layers[l];
        Layer layer{FrameLayer(net.kernel, net.nResidual), FrameLayer(1, net.nResidual), from.dilation};
        layer.gates.add(from.resTanhW, from.resTanhB, net.nResidual);
        layer.gates.add(from.resSigmoidW, from.resSigmoidB, net.nResidual);
        if (from.skipW != nullptr) layer.skip.add(from.skipW, from.skipB, net.nSkip);
        m_layers.push_back(std::move(layer));
        const int span = FrameLayer::span(net.kernel, from.dilation);
        const int shift = FrameLayer::shift(net.kernel, from.dilation);
        m_context += std::max(shift, span - shift);
    }
}

int SequenceNetwork::padding() const { return FrameLayer::span(m_net.initialKernel, 1); }

void SequenceNetwork::report(const char* name, int layer, const FrameBlock& block) const {
    if (onSequence) onSequence(name, layer, block);
}

void SequenceNetwork::process(FrameBlock& in, FrameBlock& out) {
    const kernels::Kernels& vec = *kernels::active;
    const int frames = in.frames(), S = m_net.nSkip;
    int longest = 0;
    for (const Layer& layer : m_layers) longest = std::max(longest, FrameLayer::span(m_net.kernel, layer.dilation));
    m_stream.reset(frames, m_net.nResidual, longest);
    m_initial.apply(in, 1, m_stream);
    report("INITIAL_CONV", -1, m_stream);
    if (m_net.tanhInitial) vec.tanh(m_stream.frame(0), static_cast<int>(m_stream.size()));

    out.reset(frames, S);
    for (std::size_t l = 0; l < m_layers.size(); ++l) runLayer(m_layers[l], static_cast<int>(l), out);

    // The mean is over all layers; the streaming form divides by the layers with a skip output.
    for (int t = 0; t < frames; ++t) {
        float* sum = out.frame(t);
        if (m_net.meanSkip)
            for (int i = 0; i < S; ++i) sum[i] /= static_cast<float>(m_net.nLayers);
        if (m_net.skipBias != nullptr) vec.accumulate(sum, m_net.skipBias, S);
    }
    report("SKIPSUM", -1, out);
}

void SequenceNetwork::runLayer(Layer& layer, int index, FrameBlock& out) {
    const kernels::Kernels& vec = *kernels::active;
    const int frames = m_stream.frames(), R = m_net.nResidual;
    layer.gates.apply(m_stream, layer.dilation, m_gates);
    m_gated.reset(frames, R);
    for (int t = 0; t < frames; ++t) {
        float* filter = m_gates.frame(t);
        float* gate = filter + R;
        vec.tanh(filter, R);
        vec.sigmoid(gate, R);
        vec.multiply(m_gated.frame(t), gate, filter, R);
    }
    // Every layer with skip weights contributes, whatever firstSkipLayer says.
    if (layer.skip.outputs() > 0) layer.skip.apply(m_gated, 1, out, true);
    // The residual is the layer's input of the same frame; the streaming form takes the oldest one.
    vec.scaledSum(m_stream.frame(0), m_stream.frame(0), m_gated.frame(0), kSqrtHalf, static_cast<int>(m_stream.size()));
    report("DILCONVOUT", index, m_gated);
    report("LAYEROUT", index, m_stream);
}

}  // namespace KaTessel
