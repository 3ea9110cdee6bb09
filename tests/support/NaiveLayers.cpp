#include "support/NaiveLayers.h"

#include <algorithm>
#include <cmath>

namespace KaTessel::tests {

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

Frame convolveAt(const Signal& x, int t, const NaiveKernel& kernel, int dilation) {
    Frame out(static_cast<std::size_t>(kernel.nOut), 0.0);
    for (int o = 0; o < kernel.nOut; ++o) {
        double& sum = out[static_cast<std::size_t>(o)];
        if (!kernel.bias.empty()) sum = kernel.bias[static_cast<std::size_t>(o)];
        for (int k = 0; k < kernel.taps; ++k) {
            const int from = t - k * dilation;
            if (from < 0) continue;
            for (int i = 0; i < kernel.nIn; ++i)
                sum += kernel.at(k, i, o) * x[static_cast<std::size_t>(from)][static_cast<std::size_t>(i)];
        }
    }
    return out;
}

Signal centredConvolution(const Signal& x, const NaiveKernel& kernel, int dilation) {
    const int n = static_cast<int>(x.size());
    Signal out(x.size(), Frame(static_cast<std::size_t>(kernel.nOut), 0.0));
    const int span = (kernel.taps - 1) * dilation;
    const int pad = kernel.taps % 2 == 0 ? span : span / 2;
    for (int t = 0; t < n; ++t)
        for (int o = 0; o < kernel.nOut; ++o) {
            double sum = kernel.bias.empty() ? 0.0 : kernel.bias[static_cast<std::size_t>(o)];
            for (int k = 0; k < kernel.taps; ++k)
                for (int i = 0; i < kernel.nIn; ++i)
                    sum += kernel.at(k, i, o) *
                           x[static_cast<std::size_t>(std::max(t - k * dilation, 0))][static_cast<std::size_t>(i)];
            out[static_cast<std::size_t>(std::max(t - pad, 0))][static_cast<std::size_t>(o)] = sum;
        }
    return out;
}

NaiveWaveNet::NaiveWaveNet(const T_WN2_conf& conf, Random& random, bool withBiases) : m_conf(conf) {
    const int R = conf.nResidual, S = conf.nSkip;
    initial = randomKernel(random, conf.initialKernel, std::max(conf.inputMultiplicity, 1) * conf.nInputs, R, withBiases);
    for (int l = 0; l < conf.nLayers; ++l) {
        Layer layer;
        layer.dilation = 1 << (l % conf.dilationCycle);
        layer.filter = randomKernel(random, conf.kernel, R, R, withBiases);
        layer.gate = randomKernel(random, conf.kernel, R, R, withBiases);
        layer.skip = randomKernel(random, 1, R, S, withBiases);
        layers.push_back(layer);
    }
    if (withBiases) skipBias = random.values(S);
}

void NaiveWaveNet::addTo(WeightFileWriter& writer) const {
    writer.add(m_conf.name + "_initial_causal_conv", initial.tensors());
    for (std::size_t l = 0; l < layers.size(); ++l) {
        const std::string prefix = m_conf.name + "_l" + std::to_string(l);
        writer.add(prefix + "_res_tanh", layers[l].filter.tensors());
        writer.add(prefix + "_res_sigmoid", layers[l].gate.tensors());
        if (static_cast<int>(l) >= m_conf.firstSkipLayer) writer.add(prefix + "_skip", layers[l].skip.tensors());
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
    Frame out;
    for (int o = 0; o < m_conf.nResidual; ++o) {
        double sum = initial.bias.empty() ? 0.0 : initial.bias[static_cast<std::size_t>(o)];
        for (int i = 0; i < m_conf.nInputs; ++i)
            sum += rows[static_cast<std::size_t>((m_conf.inputMultiplicity + o) * m_conf.nInputs + i)] *
                   m_inputs.back()[static_cast<std::size_t>(i)];
        out.push_back(sum);
    }
    return out;
}

Frame NaiveWaveNet::step(const std::vector<float>& in) {
    m_inputs.emplace_back(in.begin(), in.end());
    const int now = static_cast<int>(m_inputs.size()) - 1;
    const std::size_t R = static_cast<std::size_t>(m_conf.nResidual), S = static_cast<std::size_t>(m_conf.nSkip);

    Frame stream = initialConvolution();
    if (m_conf.tanhInitial)
        for (double& v : stream) v = std::tanh(v);
    for (Layer& layer : layers) {
        layer.x.push_back(stream);
        const Frame filter = convolveAt(layer.x, now, layer.filter, layer.dilation);
        const Frame gate = convolveAt(layer.x, now, layer.gate, layer.dilation);
        Frame gated(R);
        for (std::size_t i = 0; i < R; ++i)
            gated[i] = std::tanh(filter[i]) * (gate[i] < -40.0 ? 0.0 : 1.0 / (1.0 + std::exp(-gate[i])));
        layer.gated.push_back(gated);
        layer.skipOut.push_back(convolveAt(layer.gated, now, layer.skip, 1));
        // The frame that this output belongs to is the oldest one that the layer sees.
        const int aligned = now - (m_conf.kernel - 1) * layer.dilation;
        for (std::size_t i = 0; i < R; ++i)
            stream[i] = (gated[i] + (aligned < 0 ? 0.0 : layer.x[static_cast<std::size_t>(aligned)][i])) * std::sqrt(0.5);
    }

    // A delay line is as long as the spans of the later layers; what it yields is one call younger than its length.
    Frame sum(S, 0.0);
    int frames = 0;
    for (int l = m_conf.nLayers - 1; l >= m_conf.firstSkipLayer; --l) {
        const int age = frames > 0 ? frames - 1 : 0;
        if (now >= age)
            for (std::size_t i = 0; i < S; ++i)
                sum[i] += layers[static_cast<std::size_t>(l)].skipOut[static_cast<std::size_t>(now - age)][i];
        frames += (m_conf.kernel - 1) * layers[static_cast<std::size_t>(l)].dilation;
    }
    for (std::size_t i = 0; i < S; ++i) {
        if (m_conf.meanSkip) sum[i] /= m_conf.nLayers - m_conf.firstSkipLayer;
        if (!skipBias.empty()) sum[i] += skipBias[i];
    }
    return sum;
}

Signal NaiveWaveNet::process(const Signal& in) const {
    Signal stream = centredConvolution(in, initial, 1);
    if (m_conf.tanhInitial)
        for (Frame& frame : stream)
            for (double& v : frame) v = std::tanh(v);
    Signal out(in.size(), Frame(static_cast<std::size_t>(m_conf.nSkip), 0.0));
    for (const Layer& layer : layers) {
        Signal gated = centredConvolution(stream, layer.filter, layer.dilation);
        const Signal gate = centredConvolution(stream, layer.gate, layer.dilation);
        for (std::size_t t = 0; t < in.size(); ++t)
            for (std::size_t i = 0; i < gated[t].size(); ++i)
                gated[t][i] = std::tanh(gated[t][i]) / (1.0 + std::exp(-gate[t][i]));
        const Signal skip = centredConvolution(gated, layer.skip, 1);
        for (std::size_t t = 0; t < in.size(); ++t) {
            for (std::size_t i = 0; i < skip[t].size(); ++i) out[t][i] += skip[t][i];
            for (std::size_t i = 0; i < gated[t].size(); ++i) stream[t][i] = (stream[t][i] + gated[t][i]) * std::sqrt(0.5);
        }
    }
    for (Frame& frame : out)
        for (std::size_t i = 0; i < frame.size(); ++i) {
            if (m_conf.meanSkip) frame[i] /= m_conf.nLayers;
            if (!skipBias.empty()) frame[i] += skipBias[i];
        }
    return out;
}

}  // namespace KaTessel::tests
