#include "support/NaiveLayers.h"

#include <algorithm>
#include <cmath>

namespace KaTessel::tests {
namespace {

void add(Frame& to, const Frame& what) {
    for (std::size_t i = 0; i < to.size(); ++i) to[i] += what[i];
}

void applyTanh(Frame& frame) {
    for (double& v : frame) v = std::tanh(v);
}

Frame gate(const Frame& filter, const Frame& gate) {
    Frame gated(filter.size());
    for (std::size_t i = 0; i < filter.size(); ++i)
        gated[i] = std::tanh(filter[i]) * (gate[i] < -40.0 ? 0.0 : 1.0 / (1.0 + std::exp(-gate[i])));
    return gated;
}

// What the residual stream becomes: x + change, at the same power.
Frame residual(const Frame& x, const Frame& change) {
    Frame out(x);
    add(out, change);
    for (double& v : out) v *= std::sqrt(0.5);
    return out;
}

}  // namespace

std::vector<float> NaiveKernel::rows() const {
    std::vector<float> out;
    for (int k = 0; k < taps; ++k)
        for (int o = 0; o < nOut; ++o)
            for (int i = 0; i < nIn; ++i) out.push_back(static_cast<float>(at(k, i, o)));
    return out;
}

std::vector<StoredTensor> NaiveKernel::tensors() const {
    std::vector<StoredTensor> all = {{{taps, nIn, nOut}, stored}};
    if (taps == 1) all[0].dimensions = {nIn, nOut};
    if (!bias.empty()) all.push_back({{nOut}, bias});
    return all;
}

NaiveKernel randomKernel(Random& random, int taps, int nIn, int nOut, bool withBias) {
    // Sums of nIn * taps products then are about 1.
    const float size = 2.0f / std::sqrt(static_cast<float>(std::max(1, nIn * taps)));
    return {taps, nIn, nOut, random.values(taps * nIn * nOut, -size, size),
            withBias ? random.values(nOut) : std::vector<float>()};
}

Frame convolveAt(const Signal& x, int t, const NaiveKernel& kernel, int dilation, bool repeatsFirst) {
    Frame out(kernel.bias.begin(), kernel.bias.end());
    out.resize(static_cast<std::size_t>(kernel.nOut), 0.0);
    for (int k = 0; k < kernel.taps; ++k) {
        const int from = t - k * dilation;
        if (from < 0 && !repeatsFirst) continue;
        const Frame& frame = x[static_cast<std::size_t>(std::max(from, 0))];
        for (int o = 0; o < kernel.nOut; ++o)
            for (int i = 0; i < kernel.nIn; ++i)
                out[static_cast<std::size_t>(o)] += kernel.at(k, i, o) * frame[static_cast<std::size_t>(i)];
    }
    return out;
}

Signal centredConvolution(const Signal& x, const NaiveKernel& kernel, int dilation) {
    const int n = static_cast<int>(x.size());
    Signal out(x.size(), Frame(static_cast<std::size_t>(kernel.nOut), 0.0));
    const int span = (kernel.taps - 1) * dilation;
    const int pad = kernel.taps % 2 == 0 ? span : span / 2;
    for (int t = 0; t < n; ++t)
        out[static_cast<std::size_t>(std::max(t - pad, 0))] = convolveAt(x, t, kernel, dilation, true);
    return out;
}

NaiveWaveNet::NaiveWaveNet(const T_WN2_conf& conf, Random& random, bool withBiases) : m_conf(conf) {
    const int R = conf.nResidual, S = conf.nSkip;
    const int initialInputs = std::max(conf.inputMultiplicity, 1) * conf.nInputs;
    initial = randomKernel(random, conf.initialKernel, initialInputs, R, withBiases);
    for (int l = 0; l < conf.nLayers; ++l) {
        Layer layer;
        layer.dilation = 1 << (l % conf.dilationCycle);
        for (Branch* branch : {&layer.filter, &layer.gate}) {
            branch->input = randomKernel(random, conf.kernel, R, R, withBiases);
            if (conf.nCond > 0) branch->cond = randomKernel(random, 1, conf.nCond, R, withBiases);
            if (conf.nState > 0) branch->state = randomKernel(random, 1, conf.nState, R, withBiases);
        }
        layer.skip = randomKernel(random, 1, R, S, withBiases);
        if (conf.resOneByOne) layer.res1x1 = randomKernel(random, 1, R, R, withBiases);
        layers.push_back(layer);
    }
    if (withBiases) skipBias = random.values(S);
}

void NaiveWaveNet::addTo(WeightFileWriter& writer) const {
    writer.add(m_conf.name + "_initial_causal_conv", initial.tensors());
    for (std::size_t l = 0; l < layers.size(); ++l) {
        const std::string prefix = m_conf.name + "_l" + std::to_string(l);
        for (const bool isFilter : {true, false}) {
            const Branch& branch = isFilter ? layers[l].filter : layers[l].gate;
            const std::string suffix = isFilter ? "tanh" : "sigmoid";
            writer.add(prefix + "_res_" + suffix, branch.input.tensors());
            if (m_conf.nCond > 0) writer.add(prefix + "_cond_" + suffix, branch.cond.tensors());
            if (m_conf.nState > 0) writer.add(prefix + "_state_wn_" + suffix, branch.state.tensors());
        }
        if (static_cast<int>(l) >= m_conf.firstSkipLayer) writer.add(prefix + "_skip", layers[l].skip.tensors());
        if (m_conf.resOneByOne && l + 1 < layers.size()) writer.add(prefix + "_res_1x1", layers[l].res1x1.tensors());
    }
    // A matrix in the place of a bias stands for none.
    writer.add(m_conf.name + "_skip_biases",
               {skipBias.empty() ? constantTensor({1, m_conf.nSkip}, 9.0f) : StoredTensor{{m_conf.nSkip}, skipBias}});
}

Frame NaiveWaveNet::initialConvolution() const {
    const int now = static_cast<int>(m_inputs.size()) - 1;
    if (m_conf.inputMultiplicity < 2) return convolveAt(m_inputs, now, initial, 1);
    // The matrix has `multiplicity` times as many inputs as a frame. Seen as rows of nInputs, output o uses row
    // multiplicity + o.
    const std::vector<float> rows = initial.rows();
    NaiveKernel read = {1, m_conf.nInputs, m_conf.nResidual, {}, initial.bias};
    for (int i = 0; i < m_conf.nInputs; ++i)
        for (int o = 0; o < m_conf.nResidual; ++o)
            read.stored.push_back(rows[static_cast<std::size_t>((m_conf.inputMultiplicity + o) * m_conf.nInputs + i)]);
    return convolveAt(m_inputs, now, read, 1);
}

Frame NaiveWaveNet::branchAt(const Layer& layer, const Branch& branch, int t, const Conditions* conditions) const {
    Frame out = convolveAt(layer.x, t, branch.input, layer.dilation);
    if (conditions != nullptr && m_conf.nCond > 0) add(out, convolveAt({conditions->cond}, 0, branch.cond, 1));
    if (conditions != nullptr && m_conf.nState > 0) add(out, convolveAt({conditions->state}, 0, branch.state, 1));
    return out;
}

Frame NaiveWaveNet::step(const std::vector<float>& in, const Conditions* causal) {
    m_inputs.emplace_back(in.begin(), in.end());
    const int now = static_cast<int>(m_inputs.size()) - 1;
    Frame stream = initialConvolution();
    if (m_conf.tanhInitial) applyTanh(stream);
    for (Layer& layer : layers) {
        layer.x.push_back(stream);
        layer.gated.push_back(
            gate(branchAt(layer, layer.filter, now, causal), branchAt(layer, layer.gate, now, causal)));
        layer.skipOut.push_back(convolveAt(layer.gated, now, layer.skip, 1));
        Frame change = layer.gated.back();
        if (causal != nullptr && m_conf.resOneByOne) {
            change = convolveAt(layer.gated, now, layer.res1x1, 1);
            if (m_conf.tanhResidual) applyTanh(change);
        }
        // With look-ahead the frame that this output belongs to is the oldest one that the layer sees.
        const int aligned = causal != nullptr ? now : now - (m_conf.kernel - 1) * layer.dilation;
        stream = residual(aligned < 0 ? Frame(change.size()) : layer.x[static_cast<std::size_t>(aligned)], change);
    }

    // A delay line is as long as the spans of the later layers; what it yields is one call younger than its length.
    Frame sum(static_cast<std::size_t>(m_conf.nSkip), 0.0);
    int frames = 0;
    for (int l = m_conf.nLayers - 1; l >= m_conf.firstSkipLayer; --l) {
        const Layer& layer = layers[static_cast<std::size_t>(l)];
        const int age = causal == nullptr && frames > 0 ? frames - 1 : 0;
        if (now >= age) add(sum, layer.skipOut[static_cast<std::size_t>(now - age)]);
        frames += (m_conf.kernel - 1) * layer.dilation;
    }
    return finish(sum, m_conf.nLayers - m_conf.firstSkipLayer);
}

Signal NaiveWaveNet::process(const Signal& in) const {
    Signal stream = centredConvolution(in, initial, 1);
    if (m_conf.tanhInitial)
        for (Frame& frame : stream) applyTanh(frame);
    Signal out(in.size(), Frame(static_cast<std::size_t>(m_conf.nSkip), 0.0));
    for (const Layer& layer : layers) {
        const Signal filters = centredConvolution(stream, layer.filter.input, layer.dilation);
        const Signal gates = centredConvolution(stream, layer.gate.input, layer.dilation);
        for (std::size_t t = 0; t < in.size(); ++t) {
            const Frame gated = gate(filters[t], gates[t]);
            add(out[t], convolveAt({gated}, 0, layer.skip, 1));
            stream[t] = residual(stream[t], gated);
        }
    }
    for (Frame& frame : out) frame = finish(frame, m_conf.nLayers);
    return out;
}

Frame NaiveWaveNet::finish(Frame sum, int meanOver) const {
    if (m_conf.meanSkip)
        for (double& v : sum) v /= meanOver;
    if (!skipBias.empty()) add(sum, Frame(skipBias.begin(), skipBias.end()));
    return sum;
}

}  // namespace KaTessel::tests
