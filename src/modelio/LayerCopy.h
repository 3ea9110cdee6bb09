// Copying one layer out of read records, with the sizes of the caller's buffers known.
#pragma once

#include <climits>
#include <string>

#include "katessel/LayerWeights.h"

namespace KaTessel {

// What a caller wants of a layer, and how much room there is as far as that is known.
struct LayerRequest {
    std::string name;
    float* weights = nullptr;      // null: only a bias is wanted
    int weightCapacity = INT_MAX;  // [floats]
    float** bias = nullptr;        // address of the caller's pointer, which may be null
    int biasCapacity = INT_MAX;    // [floats]
    int expectedSize = -1;         // elements of a weight tensor of rank 2 or more; -1: any
    bool allowWeightNormalisation = true;
    bool biasWasMalloced = false;
};

// Copies the layer. Returns false, having written nothing, when it is missing or does not fit.
bool copyLayer(const LayerRequest& request, int layerCount, T_FileLayerWeights* layers);

// Reads the file and copies the layer.
bool loadLayer(const LayerRequest& request, const std::string& path);

}  // namespace KaTessel
