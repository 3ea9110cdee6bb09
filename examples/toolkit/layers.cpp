// Dense, convolution and recurrent layers from a weight file.
#include <katessel/KaTessel.h>

#include <cmath>
#include <cstdio>

#include "WriteWeights.h"

namespace {

using Frames = std::vector<std::vector<float>>;

void dense() {
    // A layer of 3 inputs and 2 outputs: rows of inputs per output, and a bias.
    float* weights = nullptr;
    float* bias = nullptr;
    KaTessel::init_and_load_wb("example.weights", "dense", weights, bias, 3, 2);

    float in[3] = {1.0f, 0.5f, -1.0f}, out[2];
    KaTessel::conv1x1(in, out, weights, bias, 3, 2, -1, -1, false, nullptr, 0, 0, 0, -1);
    KaTessel::free_buf(weights);
    KaTessel::free_buf(bias);
    std::printf("dense: %.3f %.3f\n", static_cast<double>(out[0]), static_cast<double>(out[1]));
    expect(std::fabs(out[0] - (1.0f + 0.5f / 3.0f - 1.0f / 5.0f + 0.25f)) < 1e-6f, "first output of the dense layer");
}

void convolution(const Frames& frames) {
    // 3 taps, 2 inputs, 4 outputs; the history goes on from call to call.
    KaTessel::T_FF_CONV1D* layer = KaTessel::FF_CONV1D_init("example.weights", "conv", 2, 4, 3);
    Frames out;
    KaTessel::FF_CONV1D_process(frames, out, layer, true);  // true: causal; false: centred
    KaTessel::FF_CONV1D_free(layer);
    delete layer;
    std::printf("convolution: %zu frames of %zu values\n", out.size(), out[0].size());
    expect(out.size() == frames.size() && out[0].size() == 4, "one output per frame");
}

void recurrent(Frames frames) {
    KaTessel::T_GRU_conf conf;
    conf.nInputs = 2;
    conf.nHidden = 3;
    conf.name = "gru";
    conf.file = "example.weights";
    KaTessel::T_GRU* gru = KaTessel::gru_init(conf);
    for (std::vector<float>& frame : frames) KaTessel::gru_step(frame.data(), nullptr, gru);
    std::printf("gru: %.4f after %zu frames\n", static_cast<double>(gru->state[0]), frames.size());
    expect(gru->state[0] != 0.0f, "a state that moved");
    KaTessel::gru_free(gru);
}

void bothDirections(Frames frames) {
    // Layers bi_f_xI, bi_f_R, bi_b_xI, bi_b_R and the initial states bi_f_h and bi_b_h.
    Frames out;
    KaTessel::bgru_process(frames, nullptr, out, "bi", "example.weights", 2, 0, 3);
    std::printf("both directions: %zu values per frame\n", out[0].size());
    expect(out[0].size() == 6, "twice the hidden size");
}

}  // namespace

int main() {
    writeWeights("example.weights", {{"dense", {falling({3, 2}, 1.0f), {{2}, {0.25f, 0.5f}}}},
                                     {"conv", {falling({3, 2, 4}, 0.5f), falling({4}, 0.1f)}},
                                     {"gru_xI", {falling({2, 9}, 1.0f), falling({9}, 0.1f)}},
                                     {"gru_R", {falling({3, 9}, 0.5f), falling({9}, 0.1f)}},
                                     {"bi_f_xI", {falling({2, 9}, 1.0f), falling({9}, 0.1f)}},
                                     {"bi_f_R", {falling({3, 9}, 0.5f), falling({9}, 0.1f)}},
                                     {"bi_b_xI", {falling({2, 9}, 0.7f), falling({9}, 0.1f)}},
                                     {"bi_b_R", {falling({3, 9}, 0.4f), falling({9}, 0.1f)}},
                                     {"bi_f_h", {falling({3}, 0.1f)}},
                                     {"bi_b_h", {falling({3}, -0.1f)}}});
    const Frames frames = {{0.1f, 0.2f}, {0.3f, -0.4f}, {0.5f, 0.6f}, {-0.7f, 0.8f}};
    dense();
    convolution(frames);
    recurrent(frames);
    bothDirections(frames);
    return 0;
}
