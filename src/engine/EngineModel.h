// What the stages of an engine compute with: its weights packed for the products, its windows and tables.
#pragma once

#include <vector>

#include "dsp/FrameSpectrum.h"
#include "katessel/CTessel.h"
#include "nn/PackedNetwork.h"

namespace KaTessel {

// Made from a configured engine's public arrays, of which it holds copies: a later change of theirs does not reach it.
// Nothing in it changes: any number of engines, on any number of threads, may compute with one.
struct EngineModel {
    EngineModel(const kernels::Kernels& vec, const CTessel& engine);

    const kernels::Kernels& vec;  // the variant that all frames are computed with
    FrameSpectrum spectrum;
    PackedNetwork network;
    PackedLayer head1;
    std::vector<float> head2Weights, head2Bias;  // facts::kOutputs rows of facts::kSkip; kOutputs, or empty
};

}  // namespace KaTessel
