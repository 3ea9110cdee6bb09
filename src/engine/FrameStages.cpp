// The stages of one analysis frame: spectrum, bands, network, heads. Offline processing computes the first two for
// several frames at once, in FeatureBatch.
#include "engine/Prepared.h"
#include "katessel/EngineFacts.hpp"
#include "nn/PackedStep.h"

namespace KaTessel {

void CTessel::spectrumStage(float* samples) {
    if (complexSpectrum == nullptr) complexSpectrum = Prepared::of(*this).spectrum.release();
    Prepared::of(*this).model->spectrum.process(samples, complexSpectrum, magnitude);
}

void CTessel::bandStage(float* features) {
    const EngineModel& model = *Prepared::of(*this).model;
    model.filterbank.energies(model.vec, magnitude, features);
    model.vec.scaledDecibels(features, facts::kSmallestEnergy, facts::kPerDecibel, 1.0f, facts::kBands);
}

void CTessel::networkStage(float* features) {
    float branches[2 * facts::kResidual];
    packedStep(Prepared::of(*this).model->network, branches, features, *encoder);
}

void CTessel::headStage() {
    const EngineModel& model = *Prepared::of(*this).model;
    model.vec.leakyRelu(encoder->skipSum, facts::kLeakySlope, facts::kSkip);
    const float* skip = encoder->skipSum;
    model.head1.apply(hidden1, &skip);
    model.vec.leakyRelu(hidden1, facts::kLeakySlope, facts::kSkip);
    const float* hidden = hidden1;
    model.vec.rowProduct(headOut, model.head2Weights.data(), facts::kSkip, 0, &hidden, 1, facts::kSkip, facts::kOutputs,
                         model.head2Bias.data(), false);
}

}  // namespace KaTessel
