// Building and releasing a WaveNet-2 network.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"
#include "katessel/WaveNet2.h"
#include "modelio/LayerLoaders.h"
#include "nn/WaveNet2Build.h"

namespace KaTessel {
namespace {

void copyShape(T_WN2& net, const T_WN2_conf& conf) {
    net.name = conf.name;
    net.nInputs = conf.nInputs;
    net.nCond = conf.nCond;
    net.nState = conf.nState;
    net.initialKernel = conf.initialKernel;
    net.kernel = conf.kernel;
    net.dilationCycle = conf.dilationCycle;
    net.nLayers = conf.nLayers;
    net.firstSkipLayer = conf.firstSkipLayer;
    net.nResidual = conf.nResidual;
    net.nSkip = conf.nSkip;
    net.meanSkip = conf.meanSkip;
    net.tanhResidual = conf.tanhResidual;
    net.tanhInitial = conf.tanhInitial;
    net.spareFlag = conf.spareFlag;
    net.resOneByOne = conf.resOneByOne;
    net.inputMultiplicity = conf.inputMultiplicity;
}

// Loads the weight sets of layer l that the network has.
void loadLayerSets(T_WN2_layer& layer, int l, const T_WN2_conf& conf, LayerFile& file) {
    char number[250];
    std::snprintf(number, sizeof number, "_l%d", l);
    const std::string prefix = conf.name + number;
    const int R = conf.nResidual;
    const auto load = [&](const char* suffix, float*& weights, float*& bias, int rows, int cols) {
        loadWeightsAndBias(file, prefix + suffix, weights, bias, rows, cols);
    };
    load("_res_tanh", layer.resTanhW, layer.resTanhB, conf.kernel * R, R);
    if (conf.nCond > 0) load("_cond_tanh", layer.condTanhW, layer.condTanhB, conf.nCond, R);
    if (conf.nState > 0) load("_state_wn_tanh", layer.stateTanhW, layer.stateTanhB, conf.nState, R);
    load("_res_sigmoid", layer.resSigmoidW, layer.resSigmoidB, conf.kernel * R, R);
    if (conf.nCond > 0) load("_cond_sigmoid", layer.condSigmoidW, layer.condSigmoidB, conf.nCond, R);
    if (conf.nState > 0) load("_state_wn_sigmoid", layer.stateSigmoidW, layer.stateSigmoidB, conf.nState, R);
    if (l >= conf.firstSkipLayer) load("_skip", layer.skipW, layer.skipB, R, conf.nSkip);
    if (conf.resOneByOne && l < conf.nLayers - 1) load("_res_1x1", layer.res1x1W, layer.res1x1B, R, R);
}

void releaseLayer(T_WN2_layer& layer) {
    for (float** buffer : {&layer.resTanhW, &layer.resTanhB, &layer.condTanhW, &layer.condTanhB, &layer.stateTanhW,
                           &layer.stateTanhB, &layer.resSigmoidW, &layer.resSigmoidB, &layer.condSigmoidW,
                           &layer.condSigmoidB, &layer.stateSigmoidW, &layer.stateSigmoidB, &layer.skipW, &layer.skipB,
                           &layer.res1x1W, &layer.res1x1B, &layer.hist, &layer.skipDelay, &layer.skipOut})
        free_buf(*buffer);
}

}  // namespace

T_WN2_conf::T_WN2_conf() = default;
T_WN2_conf::T_WN2_conf(const T_WN2_conf&) = default;
T_WN2_conf& T_WN2_conf::operator=(const T_WN2_conf&) = default;
T_WN2_conf::~T_WN2_conf() = default;

T_WN2* buildWaveNet2(const T_WN2_conf& conf, LayerFile& file) {
    // Released when anything below throws.
    std::unique_ptr<T_WN2, void (*)(T_WN2*)> net(new T_WN2, &wavenet2_free);
    copyShape(*net, conf);
    const int R = conf.nResidual;
    for (float** buffer : {&net->resIn, &net->tanhOut, &net->sigmoidOut, &net->gated, &net->resOut, &net->res1x1Out})
        init_buf(*buffer, R);
    init_buf(net->skipSum, conf.nSkip);

    const int inputs = std::max(conf.inputMultiplicity, 1) * conf.nInputs * conf.initialKernel;
    loadWeightsAndBias(file, conf.name + "_initial_causal_conv", net->initialW, net->initialB, inputs, R);
    if (conf.initialKernel > 1) {
        net->initialHistSize = (conf.initialKernel - 1) * conf.nInputs;
        init_buf(net->initialHist, net->initialHistSize);
    }

    net->layers = new T_WN2_layer[static_cast<std::size_t>(std::max(conf.nLayers, 0))];
    int dilation = 1;
    for (int l = 0; l < conf.nLayers; ++l) {
        T_WN2_layer& layer = net->layers[l];
        layer.dilation = dilation;
        loadLayerSets(layer, l, conf, file);
        layer.histSize = (conf.kernel - 1) * dilation * R;
        init_buf(layer.hist, layer.histSize);
        init_buf(layer.skipOut, conf.nSkip);
        dilation = (l + 1) % conf.dilationCycle == 0 ? 1 : 2 * dilation;
    }
    loadBias(file, conf.name + "_skip_biases", net->skipBias, conf.nSkip);
    return net.release();
}

T_WN2* wavenet2_init(T_WN2_conf conf) {
    LayerFile file;
    file.read(conf.file);
    return buildWaveNet2(conf, file);
}

void wavenet2_reset(T_WN2* net) {
    const auto clear = [](float* buffer, int n) {
        if (buffer != nullptr) std::fill_n(buffer, n, 0.0f);
    };
    clear(net->initialHist, net->initialHistSize);
    net->initialHistIndex = 0;
    for (int l = 0; l < net->nLayers; ++l) {
        T_WN2_layer& layer = net->layers[l];
        clear(layer.hist, layer.histSize);
        clear(layer.skipDelay, layer.skipDelaySize);
        layer.histIndex = layer.skipDelayIndex = 0;
    }
    clear(net->skipSum, net->nSkip);
}

void wavenet2_free(T_WN2* net) {
    if (net == nullptr) return;
    for (int l = 0; net->layers != nullptr && l < net->nLayers; ++l) releaseLayer(net->layers[l]);
    delete[] net->layers;
    for (float** buffer : {&net->initialW, &net->initialB, &net->initialHist, &net->skipBias, &net->resIn,
                           &net->tanhOut, &net->sigmoidOut, &net->gated, &net->resOut, &net->res1x1Out, &net->skipSum})
        free_buf(*buffer);
    delete net;
}

}  // namespace KaTessel
