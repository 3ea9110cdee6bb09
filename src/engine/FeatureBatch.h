// Features of neighbouring frames of a signal, several at once.
#pragma once

#include "dsp/LaneSpectrum.h"
#include "engine/EngineModel.h"

namespace KaTessel {

// Gives the features that CTessel's spectrum and band stages give for each frame, up to float rounding.
class FeatureBatch {
public:
    // `model` must outlive this.
    explicit FeatureBatch(const EngineModel& model);

    int framesAtOnce() const { return m_spectrum.lanes(); }

    //   samples   the first of framesAtOnce() frames of 1025 samples; the others follow `hop` samples apart
    //   frames    as many of them as are wanted
    //   features  frames rows of numBands
    void process(const float* samples, int hop, int frames, float* features);

private:
    const EngineModel& m_model;
    LaneSpectrum m_spectrum;
    AlignedFloats m_bands;  // numBands x lanes
};

}  // namespace KaTessel
