// The streaming step with look-ahead: every layer's output belongs to the oldest frame of its receptive field.
#include <algorithm>

#include "kernels/Kernels.h"
#include "nn/PackedStep.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {
namespace {

// This layer's skip output for the network's current frame.
// The line is written, advanced and read at the new place, which is its oldest entry: of a line of D frames the output
// of D - 1 calls ago. Models are trained for exactly this.
const float* alignedSkip(T_WN2& net, T_WN2_layer& layer) {
    if (layer.skipDelaySize < 1) return layer.skipOut;
    appendFrame(layer.skipDelay, layer.skipDelayIndex, layer.skipDelaySize, layer.skipOut, net.nSkip);
    return layer.skipDelay + layer.skipDelayIndex;
}

// The products of a layer with the weights of the network's record.
struct RecordProducts {
    void initial(float* in, T_WN2& net) const { initialConvolution(in, net); }
    void gated(T_WN2& net, int l) const {
        T_WN2_layer& layer = net.layers[l];
        convolveStream(net.tanhOut, layer.resTanhW, layer.resTanhB, net, layer);
        convolveStream(net.sigmoidOut, layer.resSigmoidW, layer.resSigmoidB, net, layer);
        gate(net);
    }
    void skip(T_WN2& net, int l) const { projectSkip(net, net.layers[l]); }
};

// The same with packed weights, filter and gate in one product.
struct PackedProducts {
    void initial(const float* in, T_WN2& net) const {
        packed.initial.apply(net.resIn, &in);
        if (packed.tanhInitial) packed.vec.tanh(net.resIn, net.nResidual);
    }
    void gated(T_WN2& net, int l) const {
        const T_WN2_layer& layer = net.layers[l];
        const float* inputs[kernels::kMaxTaps] = {net.resIn};
        for (int k = 1; k < net.kernel; ++k) inputs[k] = pastFrame(net, layer, k);
        packed.layers[static_cast<std::size_t>(l)].gates.apply(branches, inputs);
        packed.vec.gated(net.gated, branches, branches + net.nResidual, net.nResidual);
    }
    void skip(T_WN2& net, int l) const {
        const float* gated = net.gated;
        packed.layers[static_cast<std::size_t>(l)].skip.apply(net.layers[l].skipOut, &gated);
    }

    const PackedNetwork& packed;
    float* branches;  // 2 nResidual
};

// One frame. The two kinds of products differ in nothing but the order of sums.
template <class Products>
void step(const Products& products, float* in, T_WN2& net, std::vector<std::vector<std::vector<float>>>* dump) {
    const StepTimer timer;
    const kernels::Kernels& vec = *kernels::active;
    if (net.nLayers > 0 && net.layers[0].skipDelay == nullptr) makeSkipDelays(net);

    products.initial(in, net);
    for (int l = 0; l < net.nLayers; ++l) {
        T_WN2_layer& layer = net.layers[l];
        products.gated(net, l);
        if (dump != nullptr) (*dump)[static_cast<std::size_t>(l)].emplace_back(net.gated, net.gated + net.nResidual);
        if (l >= net.firstSkipLayer) products.skip(net, l);
        // The residual is the oldest input that the layer sees, (kernel - 1) * dilation frames ago: deliberately not
        // the middle one, unlike in the offline form.
        const float* oldest = layer.histSize > 0 ? layer.hist + layer.histIndex : net.resIn;
        vec.scaledSum(net.resOut, net.gated, oldest, kSqrtHalf, net.nResidual);
        advanceStream(net, layer);
    }

    std::fill_n(net.skipSum, net.nSkip, 0.0f);
    const int firstSkip = std::max(net.firstSkipLayer, 0);
    for (int l = firstSkip; l < net.nLayers; ++l)
        vec.accumulate(net.skipSum, alignedSkip(net, net.layers[l]), net.nSkip);
    // The mean is over the layers with a skip output; the offline form divides by all layers.
    if (net.meanSkip) vec.scale(net.skipSum, 1.0f / static_cast<float>(net.nLayers - firstSkip), net.nSkip);
    addSkipBias(net);
}

}  // namespace

void wavenet2_step_noncausal(float* in, T_WN2* net, int /*frameIndex*/,
                             std::vector<std::vector<std::vector<float>>>* layerDump) {
    step(RecordProducts(), in, *net, layerDump);
}

void packedStep(const PackedNetwork& packed, float* branches, float* in, T_WN2& net) {
    step(PackedProducts{packed, branches}, in, net, nullptr);
}

}  // namespace KaTessel
