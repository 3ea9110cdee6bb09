// The network layers by their definitions, in double precision: whole signals are kept, nothing is circular.
//
// Weights are held as a weight file stores them, [taps][in][out]; the order in which the library keeps them is its own
// affair.
#pragma once

#include <string>
#include <vector>

#include "katessel/WaveNet2.h"
#include "support/Random.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {

using Frame = std::vector<double>;
using Signal = std::vector<Frame>;

struct NaiveKernel {
    int taps = 1, nIn = 0, nOut = 0;
    std::vector<float> stored;  // [taps][nIn][nOut]
    std::vector<float> bias;    // nOut, or empty: none

    double at(int tap, int in, int out) const {
        return stored[static_cast<std::size_t>((tap * nIn + in) * nOut + out)];
    }
    // The same weights as rows of inputs per output, tap after tap.
    std::vector<float> rows() const;
    // Weights and, where there is one, bias, as a file's layer has them.
    std::vector<StoredTensor> tensors() const;
};

// Weights that differ for every tap, input and output, so that a swapped index cannot pass.
NaiveKernel randomKernel(Random& random, int taps, int nIn, int nOut, bool withBias);

// out[o] = bias[o] + sum over taps k and inputs i of weight(k, i, o) * x[t - k * dilation][i]; frames before the first
// are zeros, or copies of it.
Frame convolveAt(const Signal& x, int t, const NaiveKernel& kernel, int dilation, bool repeatsFirst = false);

// The same over a whole signal, centred for odd kernels: with pad = half the span (for even kernels all of it), the
// sum for t goes to frame max(t - pad, 0), where a later one replaces an earlier one; frames before the first are
// copies of it, and the last pad frames stay zeros.
Signal centredConvolution(const Signal& x, const NaiveKernel& kernel, int dilation);

// A WaveNet-2 network: its weights, its steps and its offline form.
class NaiveWaveNet {
public:
    // Random weights for a shape; conf.file is not used.
    NaiveWaveNet(const T_WN2_conf& conf, Random& random, bool withBiases);

    // Adds all layers under names that begin with conf.name.
    void addTo(WeightFileWriter& writer) const;

    // What the causal step takes beside its input.
    struct Conditions {
        Frame cond, state;
    };

    // Takes a frame, returns the skip sum: of the step with look-ahead or, with conditions, of the causal one.
    Frame step(const std::vector<float>& in, const Conditions* causal = nullptr);

    // A whole signal at once: every layer centred, the residual from the same frame, the mean over all layers.
    Signal process(const Signal& in) const;

    struct Branch {
        NaiveKernel input, cond, state;
    };
    struct Layer {
        int dilation = 1;
        Branch filter, gate;
        NaiveKernel skip, res1x1;
        Signal x, gated, skipOut;  // one entry per call
    };
    NaiveKernel initial;
    std::vector<Layer> layers;
    std::vector<float> skipBias;  // nSkip, or empty

private:
    Frame initialConvolution() const;
    Frame branchAt(const Layer& layer, const Branch& branch, int t, const Conditions* conditions) const;
    // Mean and bias.
    Frame finish(Frame sum, int meanOver) const;

    T_WN2_conf m_conf;
    Signal m_inputs;
};

}  // namespace KaTessel::tests
