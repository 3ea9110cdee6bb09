// The causal step: the streaming step without look-ahead, with conditioning, state and residual 1x1 convolutions.
#include <algorithm>

#include "kernels/Kernels.h"
#include "nn/Dense.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {
namespace {

// Filter and gate: the convolutions of the stream, and to each what conditioning and state add.
//   cond   nCond values, or null
//   state  nState values, or null
void branches(const float* cond, const float* state, T_WN2& net, T_WN2_layer& layer) {
    const int R = net.nResidual;
    convolveStream(net.tanhOut, layer.resTanhW, layer.resTanhB, net, layer);
    convolveStream(net.sigmoidOut, layer.resSigmoidW, layer.resSigmoidB, net, layer);
    if (net.nCond > 0 && cond != nullptr) {
        addDense(net.tanhOut, cond, {layer.condTanhW, layer.condTanhB, net.nCond, R});
        addDense(net.sigmoidOut, cond, {layer.condSigmoidW, layer.condSigmoidB, net.nCond, R});
    }
    if (net.nState > 0 && state != nullptr) {
        addDense(net.tanhOut, state, {layer.stateTanhW, layer.stateTanhB, net.nState, R});
        addDense(net.sigmoidOut, state, {layer.stateSigmoidW, layer.stateSigmoidB, net.nState, R});
    }
}

void residual(T_WN2& net, T_WN2_layer& layer, bool isLast) {
    const kernels::Kernels& vec = *kernels::active;
    const int R = net.nResidual;
    const float* change = net.gated;
    if (net.resOneByOne) {
        if (isLast) return;  // nobody reads it
        dense(net.res1x1Out, net.gated, {layer.res1x1W, layer.res1x1B, R, R});
        if (net.tanhResidual) vec.tanh(net.res1x1Out, R);
        change = net.res1x1Out;
    }
    // The layer's input of now; the streaming form with look-ahead takes its oldest one.
    vec.scaledSum(net.resOut, change, net.resIn, kSqrtHalf, R);
}

}  // namespace

void wavenet2_step(float* in, float* cond, float* state, T_WN2* net) {
    const StepTimer timer;
    const kernels::Kernels& vec = *kernels::active;
    const int L = net->nLayers;
    initialConvolution(in, *net);
    for (int l = 0; l < L; ++l) {
        T_WN2_layer& layer = net->layers[l];
        branches(cond, state, *net, layer);
        gate(*net);
        if (l >= net->firstSkipLayer) projectSkip(*net, layer);
        residual(*net, layer, l == L - 1);
        advanceStream(*net, layer);
    }

    // All skip outputs belong to the current frame: no delay lines.
    std::fill_n(net->skipSum, net->nSkip, 0.0f);
    const int firstSkip = std::max(net->firstSkipLayer, 0);
    for (int l = firstSkip; l < L; ++l) vec.accumulate(net->skipSum, net->layers[l].skipOut, net->nSkip);
    if (net->meanSkip) vec.scale(net->skipSum, 1.0f / static_cast<float>(L - firstSkip), net->nSkip);
    addSkipBias(*net);
}

void wavenet2_process_causal(std::vector<std::vector<float>> in, std::vector<std::vector<float>>* cond,
                             std::vector<std::vector<float>>& out, T_WN2* net) {
    out.clear();
    const bool hasCond = cond != nullptr && !cond->empty();
    for (std::size_t i = 0; i < in.size(); ++i) {
        float* condFrame = hasCond ? (*cond)[std::min(i, cond->size() - 1)].data() : nullptr;
        wavenet2_step(in[i].data(), condFrame, nullptr, net);
        // Deliberate: zeros, not skipSum.
        out.emplace_back(static_cast<std::size_t>(net->nSkip), 0.0f);
    }
}

}  // namespace KaTessel
