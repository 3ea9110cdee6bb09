#include "nn/PackedNetwork.h"

namespace KaTessel {

PackedNetwork::PackedNetwork(const kernels::Kernels& kernels, const T_WN2& net)
    : vec(kernels),
      initialKernel(net.initialKernel),
      kernel(net.kernel),
      nLayers(net.nLayers),
      nResidual(net.nResidual),
      nSkip(net.nSkip),
      meanSkip(net.meanSkip),
      tanhInitial(net.tanhInitial),
      initial(vec, net.initialKernel, net.nInputs, {{net.initialW, net.initialB, net.nResidual}}) {
    for (int l = 0; l < nLayers; ++l) {
        const T_WN2_layer& from = net.layers[l];
        layers.push_back(
            {PackedLayer(vec, kernel, nResidual,
                         {{from.resTanhW, from.resTanhB, nResidual}, {from.resSigmoidW, from.resSigmoidB, nResidual}}),
             PackedLayer(vec, 1, nResidual, {{from.skipW, from.skipB, from.skipW != nullptr ? nSkip : 0}}),
             from.dilation});
    }
    if (net.skipBias != nullptr) skipBias.assign(net.skipBias, net.skipBias + nSkip);
}

}  // namespace KaTessel
