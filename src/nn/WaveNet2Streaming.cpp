// The streaming step with look-ahead: every layer's output belongs to the oldest frame of its receptive field.
#include <algorithm>

#include "katessel/FloatBuffer.h"
#include "kernels/Kernels.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {
namespace {

// Delay lines that bring the skip outputs of all layers to the frame of the last one: a layer waits for the spans
// of the layers after it. For the encoder 6, 2 and 0 frames.
void makeSkipDelays(T_WN2& net) {
    int frames = 0;
    for (int l = net.nLayers - 1; l >= 0; --l) {
        T_WN2_layer& layer = net.layers[l];
        layer.skipDelaySize = net.nSkip * frames;
        layer.skipDelayIndex = 0;
        if (layer.skipDelaySize > 0) init_buf(layer.skipDelay, layer.skipDelaySize);
        frames += (net.kernel - 1) * layer.dilation;
    }
}

// This layer's skip output for the network's current frame.
// The line is written, advanced and read at the new place, which is its oldest entry: of a line of D frames the output
// of D - 1 calls ago. Models are trained for exactly this.
const float* alignedSkip(T_WN2& net, T_WN2_layer& layer) {
    if (layer.skipDelaySize < 1) return layer.skipOut;
    appendFrame(layer.skipDelay, layer.skipDelayIndex, layer.skipDelaySize, layer.skipOut, net.nSkip);
    return layer.skipDelay + layer.skipDelayIndex;
}

void runLayer(T_WN2& net, T_WN2_layer& layer, bool hasSkip, std::vector<std::vector<float>>* dump) {
    convolveStream(net.tanhOut, layer.resTanhW, layer.resTanhB, net, layer);
    convolveStream(net.sigmoidOut, layer.resSigmoidW, layer.resSigmoidB, net, layer);
    gate(net);
    if (dump != nullptr) dump->emplace_back(net.gated, net.gated + net.nResidual);
    if (hasSkip) projectSkip(net, layer);
    // The residual is the oldest input that the layer sees, (kernel - 1) * dilation frames ago: deliberately not the
    // middle one, unlike in the offline form.
    const float* oldest = layer.histSize > 0 ? layer.hist + layer.histIndex : net.resIn;
    kernels::active->scaledSum(net.resOut, net.gated, oldest, kSqrtHalf, net.nResidual);
    advanceStream(net, layer);
}

}  // namespace

void wavenet2_step_noncausal(float* in, T_WN2* net, int /*frameIndex*/,
                             std::vector<std::vector<std::vector<float>>>* layerDump) {
    const StepTimer timer;
    const kernels::Kernels& vec = *kernels::active;
    if (net->nLayers > 0 && net->layers[0].skipDelay == nullptr) makeSkipDelays(*net);

    initialConvolution(in, *net);
    for (int l = 0; l < net->nLayers; ++l)
        runLayer(*net, net->layers[l], l >= net->firstSkipLayer,
                 layerDump != nullptr ? &(*layerDump)[static_cast<std::size_t>(l)] : nullptr);

    std::fill_n(net->skipSum, net->nSkip, 0.0f);
    const int firstSkip = std::max(net->firstSkipLayer, 0);
    for (int l = firstSkip; l < net->nLayers; ++l)
        vec.accumulate(net->skipSum, alignedSkip(*net, net->layers[l]), net->nSkip);
    // The mean is over the layers with a skip output; the offline form divides by all layers.
    if (net->meanSkip) vec.scale(net->skipSum, 1.0f / static_cast<float>(net->nLayers - firstSkip), net->nSkip);
    addSkipBias(*net);
}

}  // namespace KaTessel
