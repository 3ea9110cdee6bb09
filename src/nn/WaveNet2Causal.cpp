// The causal step: the streaming step without look-ahead, with conditioning, state and residual 1x1 convolutions.
#include <algorithm>

#include "kernels/Kernels.h"
#include "katessel/Conv1x1.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {
namespace {

// out = W in + b, or added to it.
void product(float* in, float* out, float* W, float* b, int nIn, int nOut, bool accumulate) {
    conv1x1(in, out, W, b, nIn, nOut, -1, -1, accumulate, nullptr, 0, 0, 0, -1);
}

void branch(float* out, float* W, float* b, float* condW, float* condB, float* stateW, float* stateB, float* cond,
            float* state, T_WN2& net, T_WN2_layer& layer) {
    const int R = net.nResidual;
    WN2_conv1D(net.resIn, layer.hist, layer.histIndex, layer.histSize, layer.dilation, out, net.kernel, W, b, R, R);
    if (net.nCond > 0 && cond != nullptr) product(cond, out, condW, condB, net.nCond, R, true);
    if (net.nState > 0 && state != nullptr) product(state, out, stateW, stateB, net.nState, R, true);
}

void residual(T_WN2& net, T_WN2_layer& layer, bool isLast) {
    const kernels::Kernels& vec = *kernels::active;
    const int R = net.nResidual;
    const float* change = net.gated;
    if (net.resOneByOne) {
        if (isLast) return;  // nobody reads it
        product(net.gated, net.res1x1Out, layer.res1x1W, layer.res1x1B, R, R, false);
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
    const int R = net->nResidual, L = net->nLayers;
    initialConvolution(in, *net);
    for (int l = 0; l < L; ++l) {
        T_WN2_layer& layer = net->layers[l];
        branch(net->tanhOut, layer.resTanhW, layer.resTanhB, layer.condTanhW, layer.condTanhB, layer.stateTanhW,
               layer.stateTanhB, cond, state, *net, layer);
        branch(net->sigmoidOut, layer.resSigmoidW, layer.resSigmoidB, layer.condSigmoidW, layer.condSigmoidB,
               layer.stateSigmoidW, layer.stateSigmoidB, cond, state, *net, layer);
        gate(*net);
        if (l >= net->firstSkipLayer) projectSkip(*net, layer);
        residual(*net, layer, l == L - 1);
        appendFrame(layer.hist, layer.histIndex, layer.histSize, net->resIn, R);
        std::copy_n(net->resOut, R, net->resIn);
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
