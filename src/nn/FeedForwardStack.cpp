#include "katessel/FeedForwardStack.h"

#include <memory>
#include <utility>

#include "katessel/Conv1x1.h"
#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"
#include "katessel/WaveNet2.h"
#include "nn/WaveNet2Parts.h"

namespace KaTessel {
namespace {

struct Release {
    void operator()(T_FF_CONV1D* layer) const {
        FF_CONV1D_free(layer);
        delete layer;
    }
};
using Layer = std::unique_ptr<T_FF_CONV1D, Release>;

}  // namespace

T_FF_CONV1D* FF_CONV1D_init(T_FF_CONV1D_conf conf) {
    Layer layer(new T_FF_CONV1D);
    layer->kernel = conf.kernel;
    layer->nIn = conf.nIn;
    layer->nOut = conf.nOut;
    init_and_load_wb(conf.file, conf.name, layer->weights, layer->bias, conf.nIn * conf.kernel, conf.nOut);
    layer->historySize = (conf.kernel - 1) * conf.nIn;
    init_buf(layer->history, layer->historySize);
    return layer.release();
}

T_FF_CONV1D* FF_CONV1D_init(std::string file, std::string name, int nIn, int nOut, int kernel) {
    T_FF_CONV1D_conf conf;
    conf.file = file;
    conf.name = name;
    conf.kernel = kernel;
    conf.nIn = nIn;
    conf.nOut = nOut;
    return FF_CONV1D_init(conf);
}

void FF_CONV1D_free(T_FF_CONV1D* layer) {
    if (layer == nullptr) return;
    free_buf(layer->weights);
    free_buf(layer->bias);
    free_buf(layer->history);
}

void FF_CONV1D_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out, T_FF_CONV1D* layer,
                       bool causal) {
    const std::size_t delay = causal ? 0 : static_cast<std::size_t>((layer->kernel - 1) / 2);
    std::vector<float> afterTheEnd(static_cast<std::size_t>(layer->nIn), 0.0f);
    std::vector<float> y(static_cast<std::size_t>(layer->nOut), 0.0f);
    out.clear();
    for (std::size_t t = 0; t < in.size() + delay; ++t) {
        float* x = t < in.size() ? in[t].data() : afterTheEnd.data();
        // One tap has no history, which suits both functions.
        WN2_conv1D(x, layer->history, layer->historyIndex, layer->historySize, 1, y.data(), layer->kernel,
                   layer->weights, layer->bias, layer->nIn, layer->nOut);
        appendFrame(layer->history, layer->historyIndex, layer->historySize, x, layer->nIn);
        if (t >= delay) out.push_back(y);
    }
}

void FF_CONV1D_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out, std::string file,
                       std::string name, int nIn, int nOut, int kernel, bool causal) {
    if (kernel == 1) {
        const std::size_t n = static_cast<std::size_t>(nOut);
        for (std::vector<float>& frame : out)
            if (frame.size() < n) frame.resize(n);
        conv1x1(std::move(in), out, file, name, nIn, nOut, -1, -1, false, nullptr, 0, 0, 0, -1);
        return;
    }
    const Layer layer(FF_CONV1D_init(file, name, nIn, nOut, kernel));
    FF_CONV1D_process(std::move(in), out, layer.get(), causal);
}

T_CONV1D* conv1d_init(T_CONV1D_conf /*conf*/) { return new T_CONV1D; }

void conv1d_step(float* /*x*/, T_CONV1D* /*layer*/) {}

}  // namespace KaTessel
