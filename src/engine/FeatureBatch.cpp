#include "engine/FeatureBatch.h"

#include "katessel/EngineFacts.hpp"

namespace KaTessel {

FeatureBatch::FeatureBatch(const EngineModel& model)
    : m_model(model),
      m_spectrum(model.vec, model.analysis, facts::kAnalysisLength, highestBandBin() + 1),
      m_bands(static_cast<std::size_t>(facts::kBands * m_spectrum.lanes())) {}

void FeatureBatch::process(const float* samples, int hop, int frames, float* features) {
    const kernels::Kernels& vec = m_model.vec;
    const float* magnitude = m_spectrum.process(samples, hop);
    float* bands = m_bands.data();
    for (int b = 0; b < facts::kBands; ++b) {
        const BandRange range = bandRange(b);
        vec.weightedLanes(bands + b * vec.lanes, magnitude + range.firstBin * vec.lanes,
                          m_model.filterbank.rows()[b] + range.firstBin, range.bins);
    }
    vec.scaledDecibels(bands, facts::kSmallestEnergy, facts::kPerDecibel, 1.0f, facts::kBands * vec.lanes);
    for (int f = 0; f < frames; ++f)
        for (int b = 0; b < facts::kBands; ++b) features[f * facts::kBands + b] = bands[b * vec.lanes + f];
}

}  // namespace KaTessel
