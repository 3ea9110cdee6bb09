// A network's weights packed for the products: what the engine's forms of the network compute with.
#pragma once

#include <vector>

#include "katessel/WaveNet2.h"
#include "nn/PackedLayer.h"

namespace KaTessel {

// Copies of everything that a network's two forms with look-ahead read but its state, so that networks of equal weights
// may share one, on any number of threads.
struct PackedNetwork {
    PackedNetwork(const kernels::Kernels& vec, const T_WN2& net);

    // Whether a network of the same shape has the weights that are packed here.
    bool holds(const T_WN2& net) const;

    struct Layer {
        PackedLayer gates;  // filter, then gate
        PackedLayer skip;   // no outputs where the layer has none
        int dilation;
    };

    const kernels::Kernels& vec;
    int initialKernel, kernel, nLayers, nResidual, nSkip;
    bool meanSkip, tanhInitial;
    PackedLayer initial;
    std::vector<Layer> layers;
    std::vector<float> skipBias;  // nSkip, or empty
};

}  // namespace KaTessel
