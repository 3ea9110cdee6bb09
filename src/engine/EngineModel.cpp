#include "engine/EngineModel.h"

#include <algorithm>
#include <mutex>

#include "engine/AnalyserArguments.h"

namespace KaTessel {
namespace {

std::vector<LayerPart> head1Parts(const CTessel& engine) {
    return {{engine.out1Weights, engine.out1Bias, facts::kSkip}};
}

std::vector<float> head2WeightsOf(const CTessel& engine) {
    return {engine.out2Weights, engine.out2Weights + facts::kOutputs * facts::kSkip};
}

std::vector<float> head2BiasOf(const CTessel& engine) {
    std::vector<float> bias(facts::kOutputs);
    if (engine.out2Bias != nullptr) std::copy_n(engine.out2Bias, facts::kOutputs, bias.begin());
    return bias;
}

}  // namespace

PreparedSpectrum::PreparedSpectrum() { PrepareMR(facts::kAnalysisLength, kWindowFamily, 1.0f, true, kAnalysisRate); }

EngineModel::EngineModel(const kernels::Kernels& kernels, const CTessel& engine)
    : vec(kernels),
      spectrum(vec, analysis),
      network(vec, *engine.encoder),
      head1(vec, 1, facts::kSkip, head1Parts(engine)),
      head2Weights(head2WeightsOf(engine)),
      head2Bias(head2BiasOf(engine)) {}

bool EngineModel::holds(const kernels::Kernels& kernels, const CTessel& engine) const {
    return &vec == &kernels && network.holds(*engine.encoder) && head1.holds(head1Parts(engine)) &&
           head2Weights == head2WeightsOf(engine) && head2Bias == head2BiasOf(engine);
}

std::shared_ptr<const EngineModel> EngineModel::of(const CTessel& engine) {
    static std::mutex mutex;
    static std::vector<std::weak_ptr<const EngineModel>> models;
    const kernels::Kernels& vec = *kernels::active;
    // Held while a model is made, so that two engines that are configured at once make one.
    const std::lock_guard lock(mutex);
    std::erase_if(models, [](const auto& model) { return model.expired(); });
    for (const auto& candidate : models)
        if (const auto model = candidate.lock(); model != nullptr && model->holds(vec, engine)) return model;
    const std::shared_ptr<const EngineModel> made(new EngineModel(vec, engine));
    models.push_back(made);
    return made;
}

}  // namespace KaTessel
