#include "engine/Filterbank.h"

#include <algorithm>

#include "engine/Constants.h"

namespace KaTessel {
namespace {

#include "engine/FilterbankTable.inc"

}  // namespace

float** makeFilterbank() {
    float** rows = new float*[kBands]();
    const float* weights = kBandWeights;
    for (int b = 0; b < kBands; ++b) {
        rows[b] = new float[kBins]();
        std::copy_n(weights, kBandBinCount[b], rows[b] + kBandFirstBin[b]);
        weights += kBandBinCount[b];
    }
    return rows;
}

void freeFilterbank(float**& filterbank, int bands) {
    if (filterbank == nullptr) return;
    for (int b = 0; b < bands; ++b) delete[] filterbank[b];
    delete[] filterbank;
    filterbank = nullptr;
}

void bandEnergies(const float* const* filterbank, const float* magnitude, float* energies) {
    for (int b = 0; b < kBands; ++b) {
        const int first = kBandFirstBin[b], end = first + kBandBinCount[b];
        float energy = 0.0f;
        for (int k = first; k < end; ++k) energy += filterbank[b][k] * magnitude[k];
        energies[b] = energy;
    }
}

}  // namespace KaTessel
