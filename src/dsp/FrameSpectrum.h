// The multi-resolution spectrum of one frame of 1024 samples, as fast as the processor can.
#pragma once

#include <vector>

#include "base/AlignedFloats.h"
#include "katessel/MRSpectrum.h"
#include "kernels/Kernels.h"

namespace KaTessel {

// Gives what DoMultiresolutionSpectrum gives for centred frames of 1025 samples, whose last one is not used, in symmetric
// windows without padding, up to float rounding. Holds tables only: any number of threads may use one.
class FrameSpectrum {
public:
    //   vec       the variant that all frames are computed with
    //   prepared  analyser whose windows are built; not needed afterwards
    FrameSpectrum(const kernels::Kernels& vec, const MRSpectrum& prepared);

    //   samples          1024
    //   complexSpectrum  1024 floats in MRSpectrum's layout: both end bins at the front
    //   magnitude        513
    void process(const float* samples, float* complexSpectrum, float* magnitude) const;

private:
    // Neighbouring bins, whole vectors of them, that share their taps or else have taps of their own.
    struct Run {
        int firstBin, bins;
        bool ownTaps;
        long taps;  // where they begin in m_taps
    };

    const kernels::Kernels& m_vec;
    kernels::FrameFactors m_factors;
    std::vector<Run> m_runs;
    std::vector<float> m_taps;
};

}  // namespace KaTessel
