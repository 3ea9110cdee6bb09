// The 150 mel bands that turn a magnitude spectrum into features.
//
// Triangles whose 152 edges are equally spaced in mel (66.7 Hz per mel below 1000 Hz, logarithmic above) from 5 to
// 7000 Hz, each of unit area in Hz, sampled at the bins of a 1024-point spectrum at 24 kHz. The mel scale is that of
// M. Slaney, "Auditory Toolbox", 1998. A trained model expects these very numbers: 589 weights on bins 1 to 298.
#pragma once

#include <memory>
#include <vector>

#include "kernels/Kernels.h"

namespace KaTessel {

class Filterbank {
public:
    Filterbank();

    // facts::kBands rows of facts::kBins weights, which engines hand out and nobody changes.
    float** rows() const { return m_rows.get(); }

    // Band energies: energies[b] = sum of the band's weights times the magnitudes.
    //   magnitude   facts::kBins values
    //   energies    facts::kBands values
    void energies(const kernels::Kernels& vec, const float* magnitude, float* energies) const;

private:
    std::vector<float> m_weights, m_shortRows;  // of the latter every row is kShortRow weights from its first bin on
    std::vector<int> m_firstBins;
    std::unique_ptr<float*[]> m_rows;
};

// The bins that a band covers.
struct BandRange {
    int firstBin, bins;
};
BandRange bandRange(int band);

// The highest bin of any band, 298.
int highestBandBin();

}  // namespace KaTessel
