// The engine's own encoder as a network of the toolkit: live, offline and around a ring.
#include <katessel/KaTessel.h>

#include <cstdio>

#include "WriteWeights.h"

namespace {

using Frames = std::vector<std::vector<float>>;

KaTessel::T_WN2_conf encoder(const std::string& model) {
    KaTessel::T_WN2_conf conf;
    conf.name = "ENCODER";  // prefix of the layer names
    conf.file = model;
    conf.nInputs = 150;
    conf.initialKernel = 1;
    conf.kernel = 3;
    conf.dilationCycle = 2;
    conf.nLayers = 3;
    conf.nResidual = 70;
    conf.nSkip = 120;
    conf.meanSkip = true;
    return conf;
}

void live(const std::string& model, Frames features) {
    KaTessel::T_WN2* net = KaTessel::wavenet2_init(encoder(model));
    for (std::vector<float>& frame : features) {
        KaTessel::wavenet2_step_noncausal(frame.data(), net, 0, nullptr);
        // net->skipSum holds 120 values for the frame 4 before this one.
    }
    std::printf("live: %.4f\n", static_cast<double>(net->skipSum[0]));
    KaTessel::wavenet2_free(net);
}

void offline(const std::string& model, const Frames& features) {
    KaTessel::T_WN2* net = KaTessel::wavenet2_init(encoder(model));
    Frames out, ring;
    KaTessel::wavenet2_process_noncausal(features, nullptr, out, net, false);
    KaTessel::wavenet2_process_noncausal_circular(features, 5, nullptr, ring, net, false);
    KaTessel::wavenet2_free(net);
    std::printf("offline: %zu frames of %zu values\n", out.size(), out[0].size());
    expect(out.size() == features.size() && out[0].size() == 120, "one output per frame");
    expect(ring != out, "another start, another result");
}

void causal(const std::string& model, Frames features) {
    KaTessel::T_WN2* net = KaTessel::wavenet2_init(encoder(model));
    for (std::vector<float>& frame : features) KaTessel::wavenet2_step(frame.data(), nullptr, nullptr, net);
    std::printf("causal: %.4f for the newest frame\n", static_cast<double>(net->skipSum[0]));
    KaTessel::wavenet2_free(net);
}

}  // namespace

int main(int argc, char** argv) {
    expect(argc == 2, "usage: example-wavenet MODEL");
    Frames features;
    for (int t = 0; t < 20; ++t) features.emplace_back(150, 0.5f + 0.01f * static_cast<float>(t));
    expect(KaTessel::calc_receptive_field(3, 2, 1, 3) == 9, "nine frames seen");
    live(argv[1], features);
    offline(argv[1], features);
    causal(argv[1], features);
    return 0;
}
