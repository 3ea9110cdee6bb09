// The pair of recurrent units that reads a sequence from both ends.
#include <algorithm>
#include <memory>

#include "katessel/FloatBuffer.h"
#include "katessel/Gru.h"
#include "katessel/LayerWeights.h"

namespace KaTessel {
namespace {

// One half of the pair; `suffix` tells its layers from the other's.
T_GRU* buildUnit(const T_BGRU_conf& conf, const char* suffix, float* initialState) {
    T_GRU_conf unit;
    unit.nInputs = conf.nInputs;
    unit.nCond = conf.nCond;
    unit.nHidden = conf.nHidden;
    unit.initialState = initialState;
    unit.name = conf.name + suffix;
    unit.file = conf.file;
    return gru_init(unit);
}

}  // namespace

T_BGRU* bgru_init(T_BGRU_conf conf) {
    std::unique_ptr<T_BGRU, void (*)(T_BGRU*)> b(new T_BGRU, &bgru_free);  // released when anything below throws
    b->nInputs = conf.nInputs;
    b->nCond = conf.nCond;
    b->nHidden = conf.nHidden;
    init_and_load_var(conf.file, conf.name + "_f_h", b->forwardInitial, conf.nHidden);
    init_and_load_var(conf.file, conf.name + "_b_h", b->backwardInitial, conf.nHidden);
    b->forward = buildUnit(conf, "_f", b->forwardInitial);
    b->backward = buildUnit(conf, "_b", b->backwardInitial);
    return b.release();
}

void bgru_process(std::vector<std::vector<float>>* in, std::vector<std::vector<float>>* cond,
                  std::vector<std::vector<float>>& out, T_BGRU* b) {
    const std::size_t frames = in->size();
    const int H = b->nHidden;
    out.resize(frames);
    for (std::vector<float>& frame : out) frame.resize(static_cast<std::size_t>(2 * H));

    const bool isConditioned = b->nCond > 0 && cond != nullptr;
    const auto step = [&](std::size_t t, T_GRU* unit, int offset) {
        gru_step((*in)[t].data(), isConditioned ? (*cond)[t].data() : nullptr, unit);
        std::copy_n(unit->state, H, out[t].data() + offset);
    };
    for (std::size_t t = 0; t < frames; ++t) {
        step(t, b->forward, 0);
        step(frames - 1 - t, b->backward, H);
    }
}

void bgru_process(std::vector<std::vector<float>> in, std::vector<std::vector<float>>* cond,
                  std::vector<std::vector<float>>& out, std::string name, std::string file, int nInputs, int nCond,
                  int nHidden) {
    T_BGRU_conf conf;
    conf.nInputs = nInputs;
    conf.nCond = nCond;
    conf.nHidden = nHidden;
    conf.name = name;
    conf.file = file;
    const std::unique_ptr<T_BGRU, void (*)(T_BGRU*)> b(bgru_init(conf), &bgru_free);
    bgru_process(&in, cond, out, b.get());
}

void bgru_free(T_BGRU* b) {
    if (b == nullptr) return;
    free_buf(b->forwardInitial);
    free_buf(b->backwardInitial);
    gru_free(b->forward);
    gru_free(b->backward);
    delete b;
}

}  // namespace KaTessel
