#include "katessel/Gru.h"

#include <algorithm>
#include <memory>
#include <random>

#include "katessel/FloatBuffer.h"
#include "katessel/Globals.h"
#include "katessel/LayerWeights.h"
#include "kernels/Kernels.h"
#include "nn/Dense.h"

namespace KaTessel {
namespace {

// The same for equal states of generator_: nothing is kept from one unit to the next.
void drawState(float* state, int n) {
    std::normal_distribution<double> normal;
    for (int i = 0; i < n; ++i) state[i] = static_cast<float>(normal(generator_) * static_cast<double>(0.005f));
}

}  // namespace

T_GRU* gru_init(T_GRU_conf conf) {
    std::unique_ptr<T_GRU, void (*)(T_GRU*)> g(new T_GRU, &gru_free);  // released when anything below throws
    const int H = conf.nHidden;
    g->nInputs = conf.nInputs;
    g->nCond = conf.nCond;
    g->nHidden = H;
    init_buf(g->inputGates, 3 * H);
    init_buf(g->state, H);
    if (conf.initialState != nullptr)
        std::copy_n(conf.initialState, H, g->state);
    else if (conf.randomInitialState)
        drawState(g->state, H);
    init_buf(g->recurrentGates, 3 * H);
    init_buf(g->gates, 2 * H);
    init_buf(g->candidate, H);

    init_and_load_wb(conf.file, conf.name + "_xI", g->inputW, g->inputB, conf.nInputs, 3 * H);
    if (conf.nCond > 0) init_and_load_wb(conf.file, conf.name + "_cI", g->condW, g->condB, conf.nCond, 3 * H);
    init_and_load_wb(conf.file, conf.name + "_R", g->recurrentW, g->recurrentB, H, 3 * H);
    return g.release();
}

void gru_step(float* x, float* c, T_GRU* g) {
    const kernels::Kernels& vec = *kernels::active;
    const int H = g->nHidden;
    dense(g->inputGates, x, {g->inputW, g->inputB, g->nInputs, 3 * H});
    if (g->nCond > 0 && c != nullptr) addDense(g->inputGates, c, {g->condW, g->condB, g->nCond, 3 * H});
    dense(g->recurrentGates, g->state, {g->recurrentW, g->recurrentB, H, 3 * H});

    vec.scaledSum(g->gates, g->recurrentGates, g->inputGates, 1.0f, 2 * H);
    vec.sigmoid(g->gates, 2 * H);
    const float* z = g->gates;
    const float* r = g->gates + H;

    vec.multiply(g->candidate, g->recurrentGates + 2 * H, r, H);
    vec.accumulate(g->candidate, g->inputGates + 2 * H, H);
    vec.tanh(g->candidate, H);

    for (int i = 0; i < H; ++i) g->state[i] = (1.0f - z[i]) * g->candidate[i] + z[i] * g->state[i];
}

void gru_free(T_GRU* g) {
    if (g == nullptr) return;
    for (float** buffer : {&g->inputGates, &g->state, &g->recurrentGates, &g->gates, &g->candidate, &g->inputW,
                           &g->inputB, &g->condW, &g->condB, &g->recurrentW, &g->recurrentB})
        free_buf(*buffer);
    delete g;
}

}  // namespace KaTessel
