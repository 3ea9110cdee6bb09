// Features of neighbouring frames of a signal, several at once.
#pragma once

#include "dsp/LaneSpectrum.h"
#include "katessel/CTessel.h"

namespace KaTessel {

// Gives the features that CTessel's spectrum and band stages give for each frame, up to float rounding.
class FeatureBatch {
public:
    // The engine must be configured, and outlive this.
    explicit FeatureBatch(const CTessel& engine);

    int framesAtOnce() const { return m_spectrum.lanes(); }

    //   samples   the first frame of 1025 samples; the others follow `hop` samples apart
    //   frames    1 .. framesAtOnce()
    //   features  frames rows of numBands
    void process(const float* samples, int hop, int frames, float* features);

private:
    const CTessel& m_engine;
    LaneSpectrum m_spectrum;
    AlignedFloats m_bands;  // numBands x lanes
};

}  // namespace KaTessel
