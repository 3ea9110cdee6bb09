// The 150 mel bands that turn a magnitude spectrum into features.
//
// Triangles whose 152 edges are equally spaced in mel (66.7 Hz per mel below 1000 Hz, logarithmic above) from 5 to
// 7000 Hz, each of unit area in Hz, sampled at the bins of a 1024-point spectrum at 24 kHz. The mel scale is that of
// M. Slaney, "Auditory Toolbox", 1998. A trained model expects these very numbers: 589 weights on bins 1 to 298.
#pragma once

namespace KaTessel {

// Makes rows of facts::kBins weights, one per band, in `filterbank`, which must be null; release with freeFilterbank.
void makeFilterbank(float**& filterbank);

// Releases every row and the table of `bands` rows and sets it to null.
void freeFilterbank(float**& filterbank, int bands);

// The bins that a band covers.
struct BandRange {
    int firstBin, bins;
};
BandRange bandRange(int band);

// The highest bin of any band, 298.
int highestBandBin();

// Band energies: energies[b] = sum of the band's weights times the magnitudes.
//   filterbank  from makeFilterbank; only the bins that a band covers are visited, all others weigh nothing
//   magnitude   facts::kBins values
//   energies    facts::kBands values
void bandEnergies(const float* const* filterbank, const float* magnitude, float* energies);

}  // namespace KaTessel
