#include "modelio/LayerCopy.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/Messages.h"
#include "kernels/Kernels.h"

namespace KaTessel {
namespace {

// The last two dimensions as stored; B is the number of outputs.
struct Matrix {
    int A, B;
};

Matrix lastTwo(const T_FileTensor& tensor) {
    return {tensor.dimensions[tensor.rank - 2], tensor.dimensions[tensor.rank - 1]};
}

bool isGain(const T_FileTensor& tensor) {
    if (tensor.rank < 3) return false;
    return std::all_of(tensor.dimensions, tensor.dimensions + tensor.rank - 1, [](int d) { return d == 1; });
}

const T_FileTensor* tensorAt(const T_FileLayerWeights& layer, int position) {
    return position < layer.tensorCount ? &layer.tensors[position] : nullptr;
}

void releaseBias(float*& bias, bool wasMalloced) {
    if (wasMalloced)
        std::free(bias);
    else
        delete[] bias;
    bias = nullptr;
}

// Stored [.., A, B] to delivered [.., B, A].
void copyTransposed(const T_FileTensor& tensor, float* to) {
    const auto [A, B] = lastTwo(tensor);
    const kernels::Kernels& vec = *kernels::active;
    // In tiles, of as many rows as a vector has lanes; what is no whole tile one by one.
    constexpr int kColumns = kernels::kMaxLanes;
    alignas(64) float turned[kColumns * kernels::kMaxLanes];
    const int lanes = vec.lanes, rows = A - A % lanes, columns = B - B % kColumns;
    const float* from = tensor.values;
    for (int done = 0; done < tensor.count; done += A * B, from += A * B, to += A * B) {
        for (int first = 0; first < columns; first += kColumns)
            for (int a = 0; a < rows; a += lanes) {
                vec.placeLanes(turned, from + a * B + first, B, 1.0f, kColumns);
                for (int b = 0; b < kColumns; ++b) std::copy_n(turned + b * lanes, lanes, to + (first + b) * A + a);
            }
        for (int a = 0; a < A; ++a)
            for (int b = a < rows ? columns : 0; b < B; ++b) to[b * A + a] = from[a * B + b];
    }
}

// Gives every output's weights the norm that its gain says. The outputs of a kernel with several taps are
// normalised over all taps; of any other tensor only the first block of rows is.
// After "Weight Normalization", Salimans and Kingma, 2016.
void normalise(const T_FileTensor& tensor, const T_FileTensor& gain, float* weights) {
    const auto [A, B] = lastTwo(tensor);
    const int taps = tensor.rank == 3 ? tensor.dimensions[0] : 1;
    for (int o = 0; o < B; ++o) {
        float squares = 0.0f;
        for (int t = 0; t < taps; ++t)
            for (int i = 0; i < A; ++i) {
                const float w = weights[(t * B + o) * A + i];
                squares += w * w;
            }
        const float scale = gain.values[o] / std::sqrt(std::max(squares, 1e-8f));
        for (int t = 0; t < taps; ++t)
            for (int i = 0; i < A; ++i) weights[(t * B + o) * A + i] *= scale;
    }
}

[[noreturn]] void stopForWrongSize(const std::string& name, int expected, const T_FileTensor& tensor) {
    const auto [A, B] = lastTwo(tensor);
    printMessage("ERROR: wrong size for layer %s (expected: %d, was: %d)\n dimensions[-2:]=[%d,%d] stopping...\n",
                 name.c_str(), expected, tensor.count, A, B);
    std::exit(-1);
}

}  // namespace

bool copyLayer(const LayerRequest& request, int layerCount, T_FileLayerWeights* layers) {
    const int index = findFileLayer(request.name, layerCount, layers);
    if (index < 0) return false;
    T_FileLayerWeights& layer = layers[index];

    // The tensors by their roles.
    const bool wantsWeights = request.weights != nullptr;
    const bool wantsBias = request.bias != nullptr && *request.bias != nullptr;
    const int biasPosition = wantsWeights ? 1 : 0;
    const T_FileTensor* weights = wantsWeights ? tensorAt(layer, 0) : nullptr;
    const T_FileTensor* bias = wantsBias ? tensorAt(layer, biasPosition) : nullptr;
    if (bias != nullptr && bias->rank >= 2) bias = nullptr;
    const T_FileTensor* gain = nullptr;
    if (request.allowWeightNormalisation) {
        // Behind whichever of the two was found last: a layer [kernel, gain] without a bias keeps its gain.
        const int position = 1 + std::max(wantsWeights ? 0 : -1, bias != nullptr ? biasPosition : -1);
        gain = tensorAt(layer, position);
        if (gain != nullptr && !isGain(*gain)) gain = nullptr;
    }

    // Everything that could not be copied whole, before the first write.
    if (wantsWeights && weights == nullptr) return false;
    if (weights != nullptr && weights->rank >= 2 && request.expectedSize != -1 &&
        weights->count != request.expectedSize)
        stopForWrongSize(request.name, request.expectedSize, *weights);
    if (weights != nullptr && weights->count > request.weightCapacity) return false;
    if (bias != nullptr && bias->count > request.biasCapacity) return false;
    if (gain != nullptr && (weights == nullptr || weights->rank < 2 || gain->count != lastTwo(*weights).B))
        return false;

    if (wantsBias && bias == nullptr) releaseBias(*request.bias, request.biasWasMalloced);
    if (weights != nullptr) {
        if (weights->rank == 1)
            std::copy_n(weights->values, weights->count, request.weights);
        else
            copyTransposed(*weights, request.weights);
    }
    if (bias != nullptr) std::copy_n(bias->values, bias->count, *request.bias);
    layer.loaded = true;
    if (gain != nullptr) normalise(*weights, *gain, request.weights);
    return true;
}

bool loadLayer(const LayerRequest& request, const std::string& path) {
    LayerFile file;
    return file.read(path) && copyLayer(request, file.layerCount(), file.layers());
}

int findFileLayer(std::string layerName, int layerCount, T_FileLayerWeights* layers) {
    if (layers == nullptr) return -1;
    for (int i = 0; i < layerCount; ++i)
        if (layers[i].name == layerName) return i;
    return -1;
}

bool copyFileLayerWeights(std::string layerName, int layerCount, T_FileLayerWeights* layers, float* weights,
                          float*& bias, int expectedSize, bool** mask, bool allowWeightNormalisation,
                          bool biasWasMalloced) {
    LayerRequest request;
    request.name = std::move(layerName);
    request.weights = weights;
    request.bias = &bias;
    request.expectedSize = expectedSize;
    request.allowWeightNormalisation = allowWeightNormalisation;
    request.biasWasMalloced = biasWasMalloced;
    if (mask != nullptr && findFileLayer(request.name, layerCount, layers) >= 0) printMessage("Error: not implemented");
    return copyLayer(request, layerCount, layers);
}

}  // namespace KaTessel
