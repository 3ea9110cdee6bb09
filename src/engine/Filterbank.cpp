#include "engine/Filterbank.h"

#include <algorithm>

#include "katessel/EngineFacts.hpp"

namespace KaTessel {
namespace {

#include "engine/FilterbankTable.inc"

}  // namespace

void makeFilterbank(float**& filterbank) {
    filterbank = new float*[facts::kBands]();  // at once where its owner releases it, should a row fail
    const float* weights = kBandWeights;
    for (int b = 0; b < facts::kBands; ++b) {
        filterbank[b] = new float[facts::kBins]();
        std::copy_n(weights, kBandBinCount[b], filterbank[b] + kBandFirstBin[b]);
        weights += kBandBinCount[b];
    }
}

void freeFilterbank(float**& filterbank, int bands) {
    if (filterbank == nullptr) return;
    for (int b = 0; b < bands; ++b) delete[] filterbank[b];
    delete[] filterbank;
    filterbank = nullptr;
}

BandRange bandRange(int band) { return {kBandFirstBin[band], kBandBinCount[band]}; }

int highestBandBin() {
    const BandRange last = bandRange(facts::kBands - 1);
    return last.firstBin + last.bins - 1;
}

void bandEnergies(const float* const* filterbank, const float* magnitude, float* energies) {
    for (int b = 0; b < facts::kBands; ++b) {
        const BandRange range = bandRange(b);
        float energy = 0.0f;
        for (int k = range.firstBin; k < range.firstBin + range.bins; ++k) energy += filterbank[b][k] * magnitude[k];
        energies[b] = energy;
    }
}

}  // namespace KaTessel
