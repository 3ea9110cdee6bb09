#include "engine/EngineModel.h"

#include "katessel/EngineFacts.hpp"

namespace KaTessel {

EngineModel::EngineModel(const kernels::Kernels& kernels, const CTessel& engine)
    : vec(kernels),
      spectrum(vec, engine.spectrum),
      network(vec, *engine.encoder),
      head1(vec, 1, facts::kSkip, {{engine.out1Weights, engine.out1Bias, facts::kSkip}}),
      head2Weights(engine.out2Weights, engine.out2Weights + facts::kOutputs * facts::kSkip) {
    if (engine.out2Bias != nullptr) head2Bias.assign(engine.out2Bias, engine.out2Bias + facts::kOutputs);
}

}  // namespace KaTessel
