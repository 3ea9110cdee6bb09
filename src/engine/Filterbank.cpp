#include "engine/Filterbank.h"

#include <algorithm>

#include "katessel/EngineFacts.hpp"

namespace KaTessel {
namespace {

#include "engine/FilterbankTable.inc"

}  // namespace

Filterbank::Filterbank()
    : m_weights(static_cast<std::size_t>(facts::kBands * facts::kBins)),
      m_shortRows(static_cast<std::size_t>(facts::kBands * kernels::kShortRow)),
      m_firstBins(kBandFirstBin, kBandFirstBin + facts::kBands),
      m_rows(new float*[facts::kBands]) {
    const float* weights = kBandWeights;
    for (int b = 0; b < facts::kBands; ++b) {
        float* row = m_weights.data() + b * facts::kBins;
        m_rows[static_cast<std::size_t>(b)] = row;
        std::copy_n(weights, kBandBinCount[b], row + kBandFirstBin[b]);
        std::copy_n(weights, kBandBinCount[b], m_shortRows.data() + b * kernels::kShortRow);
        weights += kBandBinCount[b];
    }
}

BandRange bandRange(int band) { return {kBandFirstBin[band], kBandBinCount[band]}; }

int highestBandBin() {
    const BandRange last = bandRange(facts::kBands - 1);
    return last.firstBin + last.bins - 1;
}

void Filterbank::energies(const kernels::Kernels& vec, const float* magnitude, float* energies) const {
    vec.shortDots(energies, m_shortRows.data(), magnitude, m_firstBins.data(), facts::kBands);
}

}  // namespace KaTessel
