#include "nn/WaveNet2Parts.h"

#include <algorithm>

#include "kernels/Kernels.h"
#include "katessel/Conv1x1.h"

namespace KaTessel {

int initialRowOffset(const T_WN2& net) {
    // The rows from `inputMultiplicity` on must lie inside the delivered matrix; a multiplicity of 1 has none to spare.
    const long rows = static_cast<long>(net.inputMultiplicity) * net.nResidual;
    const bool fits = net.inputMultiplicity > 1 && net.inputMultiplicity + net.nResidual <= rows;
    return fits ? net.inputMultiplicity : -1;
}

void initialConvolution(float* in, T_WN2& net) {
    if (net.initialKernel == 1)
        conv1x1(in, net.resIn, net.initialW, net.initialB, net.nInputs, net.nResidual, -1, -1, false, nullptr, 0, 0,
                0, initialRowOffset(net));
    else
        WN2_conv1D(in, net.initialHist, net.initialHistIndex, net.initialHistSize, 1, net.resIn, net.initialKernel,
                   net.initialW, net.initialB, net.nInputs, net.nResidual);
    if (net.tanhInitial) kernels::active->tanh(net.resIn, net.nResidual);
    appendFrame(net.initialHist, net.initialHistIndex, net.initialHistSize, in, net.nInputs);
}

void appendFrame(float* history, int& index, int size, const float* frame, int n) {
    if (size < 1) return;
    std::copy_n(frame, n, history + index);
    index = (index + n) % size;
}

void gate(T_WN2& net) {
    const kernels::Kernels& vec = *kernels::active;
    vec.tanh(net.tanhOut, net.nResidual);
    vec.sigmoid(net.sigmoidOut, net.nResidual);
    vec.multiply(net.gated, net.sigmoidOut, net.tanhOut, net.nResidual);
}

void projectSkip(T_WN2& net, T_WN2_layer& layer) {
    conv1x1(net.gated, layer.skipOut, layer.skipW, layer.skipB, net.nResidual, net.nSkip, -1, -1, false, nullptr, 0,
            0, 0, -1);
}

void addSkipBias(T_WN2& net) {
    if (net.skipBias != nullptr) kernels::active->accumulate(net.skipSum, net.skipBias, net.nSkip);
}

}  // namespace KaTessel
