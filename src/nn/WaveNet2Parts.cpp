#include "nn/WaveNet2Parts.h"

#include <algorithm>

#include "katessel/FloatBuffer.h"
#include "kernels/Kernels.h"
#include "nn/Dense.h"

namespace KaTessel {
namespace {

// Where the pointwise initial convolution reads its rows: from number `inputMultiplicity` on when the matrix has that
// many to spare, which with a multiplicity of 1 it has not.
const float* initialRows(const T_WN2& net) {
    const long rows = static_cast<long>(net.inputMultiplicity) * net.nResidual;
    const bool fits = net.inputMultiplicity > 1 && net.inputMultiplicity + net.nResidual <= rows;
    return fits ? net.initialW + static_cast<long>(net.inputMultiplicity) * net.nInputs : net.initialW;
}

}  // namespace

void initialConvolution(float* in, T_WN2& net) {
    if (net.initialKernel == 1)
        dense(net.resIn, in, {initialRows(net), net.initialB, net.nInputs, net.nResidual});
    else
        WN2_conv1D(in, net.initialHist, net.initialHistIndex, net.initialHistSize, 1, net.resIn, net.initialKernel,
                   net.initialW, net.initialB, net.nInputs, net.nResidual);
    if (net.tanhInitial) kernels::active->tanh(net.resIn, net.nResidual);
    appendFrame(net.initialHist, net.initialHistIndex, net.initialHistSize, in, net.nInputs);
}

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

void appendFrame(float* history, int& index, int size, const float* frame, int n) {
    if (size < 1) return;
    std::copy_n(frame, n, history + index);
    index = (index + n) % size;
}

void convolveStream(float* out, float* weights, float* bias, const T_WN2& net, const T_WN2_layer& layer) {
    WN2_conv1D(net.resIn, layer.hist, layer.histIndex, layer.histSize, layer.dilation, out, net.kernel, weights, bias,
               net.nResidual, net.nResidual);
}

void advanceStream(T_WN2& net, T_WN2_layer& layer) {
    appendFrame(layer.hist, layer.histIndex, layer.histSize, net.resIn, net.nResidual);
    std::copy_n(net.resOut, net.nResidual, net.resIn);
}

void gate(T_WN2& net) {
    const kernels::Kernels& vec = *kernels::active;
    vec.tanh(net.tanhOut, net.nResidual);
    vec.sigmoid(net.sigmoidOut, net.nResidual);
    vec.multiply(net.gated, net.sigmoidOut, net.tanhOut, net.nResidual);
}

void projectSkip(T_WN2& net, T_WN2_layer& layer) {
    dense(layer.skipOut, net.gated, {layer.skipW, layer.skipB, net.nResidual, net.nSkip});
}

void addSkipBias(T_WN2& net) {
    if (net.skipBias != nullptr) kernels::active->accumulate(net.skipSum, net.skipBias, net.nSkip);
}

}  // namespace KaTessel
