// The loaders that layers are built with: buffers of the right size, filled from the weight file or left at zero.
#include "base/Messages.h"
#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"
#include "modelio/LayerCopy.h"
#include "modelio/LayerLoaders.h"

namespace KaTessel {
namespace {

// Of a file that could not be read, every layer is missing.
void loadOrWarn(const LayerRequest& request, LayerFile& file) {
    if (!copyLayer(request, file.layerCount(), file.layers()))
        printMessage("WARNING: %s not loaded!\n", request.name.c_str());
}

}  // namespace

void loadBias(LayerFile& file, const std::string& layerName, float*& bias, int n) {
    init_buf(bias, n);
    LayerRequest request;
    request.name = layerName;
    request.bias = &bias;
    request.biasCapacity = n;
    loadOrWarn(request, file);
}

void loadWeightsAndBias(LayerFile& file, const std::string& layerName, float*& weights, float*& bias, int rows,
                        int cols) {
    init_buf(weights, rows * cols);
    init_buf(bias, cols);
    LayerRequest request;
    request.name = layerName;
    request.weights = weights;
    request.weightCapacity = rows * cols;
    request.bias = &bias;
    request.biasCapacity = cols;
    request.expectedSize = rows * cols;
    loadOrWarn(request, file);
}

void init_and_load_b(std::string path, std::string layerName, float*& bias, int n) {
    LayerFile file;
    file.read(path);
    loadBias(file, layerName, bias, n);
}

void init_and_load_var(std::string path, std::string layerName, float*& values, int n) {
    init_buf(values, n);
    LayerRequest request;
    request.name = std::move(layerName);
    request.weights = values;
    request.weightCapacity = n;
    request.expectedSize = n;
    request.biasWasMalloced = true;
    LayerFile file;
    file.read(path);
    loadOrWarn(request, file);
}

void init_and_load_wb(std::string path, std::string layerName, float*& weights, float*& bias, int rows, int cols) {
    LayerFile file;
    file.read(path);
    loadWeightsAndBias(file, layerName, weights, bias, rows, cols);
}

bool loadSingleModelWeights(std::string path, std::string layerName, float* weights, float*& bias, int expectedSize,
                            bool biasWasMalloced) {
    LayerRequest request;
    request.name = std::move(layerName);
    request.weights = weights;
    request.bias = &bias;
    request.expectedSize = expectedSize;
    request.biasWasMalloced = biasWasMalloced;
    return loadLayer(request, path);
}

}  // namespace KaTessel
