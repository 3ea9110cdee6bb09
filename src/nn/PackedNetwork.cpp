#include "nn/PackedNetwork.h"

#include <algorithm>

namespace KaTessel {
namespace {

using Parts = std::vector<LayerPart>;

Parts initialParts(const T_WN2& net) { return {{net.initialW, net.initialB, net.nResidual}}; }

Parts gateParts(const T_WN2& net, const T_WN2_layer& layer) {
    return {{layer.resTanhW, layer.resTanhB, net.nResidual}, {layer.resSigmoidW, layer.resSigmoidB, net.nResidual}};
}

Parts skipParts(const T_WN2& net, const T_WN2_layer& layer) {
    return {{layer.skipW, layer.skipB, layer.skipW != nullptr ? net.nSkip : 0}};
}

std::vector<float> copied(const float* values, int n) {
    return values != nullptr ? std::vector<float>(values, values + n) : std::vector<float>();
}

}  // namespace

PackedNetwork::PackedNetwork(const kernels::Kernels& kernels, const T_WN2& net)
    : vec(kernels),
      initialKernel(net.initialKernel),
      kernel(net.kernel),
      nLayers(net.nLayers),
      nResidual(net.nResidual),
      nSkip(net.nSkip),
      meanSkip(net.meanSkip),
      tanhInitial(net.tanhInitial),
      initial(vec, net.initialKernel, net.nInputs, initialParts(net)),
      skipBias(copied(net.skipBias, net.nSkip)) {
    for (int l = 0; l < nLayers; ++l) {
        const T_WN2_layer& layer = net.layers[l];
        layers.push_back({PackedLayer(vec, kernel, nResidual, gateParts(net, layer)),
                          PackedLayer(vec, 1, nResidual, skipParts(net, layer)), layer.dilation});
    }
}

bool PackedNetwork::holds(const T_WN2& net) const {
    if (!initial.holds(initialParts(net)) || copied(net.skipBias, nSkip) != skipBias) return false;
    for (int l = 0; l < nLayers; ++l) {
        const Layer& layer = layers[static_cast<std::size_t>(l)];
        if (!layer.gates.holds(gateParts(net, net.layers[l])) || !layer.skip.holds(skipParts(net, net.layers[l])))
            return false;
    }
    return true;
}

}  // namespace KaTessel
