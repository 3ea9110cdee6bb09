#include "nn/Dense.h"

#include "kernels/Kernels.h"

namespace KaTessel {
namespace {

void product(float* out, const float* in, const DenseLayer& layer, bool accumulate) {
    kernels::active->rowProduct(out, layer.weights, layer.nIn, 0, &in, 1, layer.nIn, layer.nOut, layer.bias,
                                accumulate);
}

}  // namespace

void dense(float* out, const float* in, const DenseLayer& layer) { product(out, in, layer, false); }

void addDense(float* out, const float* in, const DenseLayer& layer) { product(out, in, layer, true); }

}  // namespace KaTessel
