// The offline and the circular form behind their interface of sequences, and the one-shot driver.
#include <memory>
#include <string>

#include "katessel/FrameMatrix.h"
#include "katessel/WaveNet2.h"
#include "nn/WaveNet2Sequence.h"

namespace KaTessel {
namespace {

using Frames = std::vector<std::vector<float>>;

void convolve(const Frames& in, int start, Frames& out, int dilation, int kernel, const float* W, const float* bias,
              int nIn, int nOut) {
    const PackedLayer layer(*kernels::active, kernel, nIn, {{W, bias, nOut}});
    FrameBlock block, result;
    block.assign(in, nIn, PackedLayer::span(kernel, dilation), start);
    layer.apply(block, dilation, result);
    out = result.toSequence();
}

// Writes every sequence that the network reports under "./plot/".
void dumpSequences(SequenceNetwork& network, const std::string& name) {
    const std::string prefix = "./plot/_" + name + "_";
    network.onSequence = [prefix](const char* what, int layer, const FrameBlock& block) {
        const std::string number = layer < 0 ? "" : std::to_string(layer);
        write_data(prefix + "_WN_" + what + number + ".bin", block.toSequence(), 0, 0);
    };
}

// A ring differs only in where its first frame is: what is computed from it are ordinary sequences.
void runNetwork(const Frames& in, int start, Frames& out, const T_WN2& net, bool dump) {
    const PackedNetwork packed(*kernels::active, net);
    SequenceNetwork network(packed);
    if (dump) dumpSequences(network, net.name);
    FrameBlock block, result;
    block.assign(in, net.nInputs, network.padding(), start);
    network.process(block, result);
    out = result.toSequence();
}

}  // namespace

void WN2_conv1D_process_noncausal(Frames in, Frames& out, int dilation, int kernel, float* W, float* bias, int nIn,
                                  int nOut) {
    convolve(in, 0, out, dilation, kernel, W, bias, nIn, nOut);
}

void WN2_conv1D_process_noncausal_circular(Frames in, int start, Frames& out, int dilation, int kernel, float* W,
                                           float* bias, int nIn, int nOut) {
    convolve(in, start, out, dilation, kernel, W, bias, nIn, nOut);
}

void wavenet2_process_noncausal(Frames in, Frames* /*ignoredOut*/, Frames& out, T_WN2* net, bool dump) {
    runNetwork(in, 0, out, *net, dump);
}

void wavenet2_process_noncausal_circular(Frames in, int start, Frames* /*ignoredOut*/, Frames& out, T_WN2* net,
                                         bool dump) {
    runNetwork(in, start, out, *net, dump);
}

void wavenet2_process(Frames in, Frames* out, Frames cond, std::string name, std::string file, int nInputs, int nCond,
                      int nLayers, int dilationCycle, int initialKernel, int kernel, int nResidual, int nSkip,
                      bool meanSkip, int firstSkipLayer, bool tanhResidual, bool tanhInitial, bool causal) {
    T_WN2_conf conf;
    conf.name = name;
    conf.file = file;
    conf.nInputs = nInputs;
    conf.nCond = nCond;
    conf.nLayers = nLayers;
    conf.dilationCycle = dilationCycle;
    conf.initialKernel = initialKernel;
    conf.kernel = kernel;
    conf.nResidual = nResidual;
    conf.nSkip = nSkip;
    conf.meanSkip = meanSkip;
    conf.firstSkipLayer = firstSkipLayer;
    conf.tanhResidual = tanhResidual;
    conf.tanhInitial = tanhInitial;
    const std::unique_ptr<T_WN2, void (*)(T_WN2*)> net(wavenet2_init(conf), &wavenet2_free);
    if (causal)
        wavenet2_process_causal(in, &cond, *out, net.get());
    else
        // Deliberate: the result goes to the driver's copy of `cond` and is not handed out.
        wavenet2_process_noncausal(in, out, cond, net.get(), false);
}

}  // namespace KaTessel
