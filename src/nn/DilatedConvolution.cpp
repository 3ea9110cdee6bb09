// The dilated convolution over a stream, and the receptive field of a stack of them.
#include <algorithm>
#include <cmath>

#include "kernels/Kernels.h"
#include "katessel/WaveNet2.h"

namespace KaTessel {

void WN2_conv1D(float* x, float* hist, int histIndex, int histSize, int dilation, float* out, int kernel, float* W,
                float* bias, int nIn, int nOut) {
    const long tapStride = static_cast<long>(nIn) * nOut;
    // A frame never wraps around inside the history: its size is a multiple of nIn. With two taps, tap 1 is the oldest
    // frame whatever the size says; frames of no values have no history.
    const auto pastFrame = [&](int k) -> const float* {
        if (kernel == 2) return hist + histIndex;
        return histSize < 1 ? x : hist + (histIndex + histSize + (kernel - 1 - k) * dilation * nIn) % histSize;
    };
    const float* inputs[kernels::kMaxTaps];
    for (int firstTap = 0; firstTap < kernel; firstTap += kernels::kMaxTaps) {
        const int taps = std::min(kernel - firstTap, kernels::kMaxTaps);
        for (int t = 0; t < taps; ++t) {
            const int k = firstTap + t;
            inputs[t] = k == 0 ? x : pastFrame(k);
        }
        const bool first = firstTap == 0;
        kernels::active->rowProduct(out, W + firstTap * tapStride, nIn, tapStride, inputs, taps, nIn, nOut,
                                    first ? bias : nullptr, !first);
    }
}

int calc_receptive_field(int nLayers, int dilationCycle, int initialKernel, int kernel) {
    int frames = initialKernel;
    for (int l = 0; l < nLayers; ++l) frames += (kernel - 1) * static_cast<int>(std::exp2(l % dilationCycle));
    return frames;
}

}  // namespace KaTessel
