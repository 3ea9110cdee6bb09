// The loaders of LayerWeights.h over a weight file that was read before: who builds a whole network reads it once.
#pragma once

#include <string>

#include "katessel/LayerWeights.h"

namespace KaTessel {

// A layer that is only a bias; see init_and_load_b.
void loadBias(LayerFile& file, const std::string& layerName, float*& bias, int n);

// Weights and bias; see init_and_load_wb.
void loadWeightsAndBias(LayerFile& file, const std::string& layerName, float*& weights, float*& bias, int rows,
                        int cols);

}  // namespace KaTessel
