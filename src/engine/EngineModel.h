// What the stages of an engine compute with: its weights packed for the products, its windows and tables.
//
// Engines of one process with equal weights share one, whatever files those came from. It is made by the first of them,
// and released with the last.
#pragma once

#include <memory>
#include <vector>

#include "dsp/FrameSpectrum.h"
#include "engine/Filterbank.h"
#include "katessel/CTessel.h"
#include "nn/PackedNetwork.h"

namespace KaTessel {

// The analyser with the windows of the engine's frames, which take longer to build than anything else.
struct PreparedSpectrum : MRSpectrum {
    PreparedSpectrum();
};

// Nothing in it changes: any number of engines, on any number of threads, may compute with one.
class EngineModel {
public:
    // The model of the weights in an engine's public arrays, for the variant in use. A later change of the arrays does
    // not reach it.
    static std::shared_ptr<const EngineModel> of(const CTessel& engine);

    EngineModel(const kernels::Kernels& vec, const CTessel& engine);

    const kernels::Kernels& vec;  // the variant that all frames are computed with
    const PreparedSpectrum analysis;
    const FrameSpectrum spectrum;
    const Filterbank filterbank;
    const PackedNetwork network;
    const PackedLayer head1;
    const std::vector<float> head2Weights, head2Bias;  // facts::kOutputs rows of facts::kSkip; kOutputs, zeros for none

private:
    bool holds(const kernels::Kernels& vec, const CTessel& engine) const;
};

}  // namespace KaTessel
