// The magnitudes of the multi-resolution spectrum for several neighbouring frames of a signal at once.
#pragma once

#include "base/AlignedFloats.h"
#include "katessel/MRSpectrum.h"
#include "kernels/Kernels.h"

namespace KaTessel {

// One signal per frame, side by side in the lanes of a vector. Gives what DoMultiresolutionSpectrum gives for each
// frame, for centred frames and symmetric windows, up to float rounding.
class LaneSpectrum {
public:
    //   vec        the variant that all frames are computed with
    //   prepared   analyser whose windows are built; must outlive this
    //   length     samples of a frame, odd, at most one more than the transform
    //   bins       bins 0 .. bins - 1 are computed; they must stay half a kernel below the last one
    LaneSpectrum(const kernels::Kernels& vec, const MRSpectrum& prepared, int length, int bins);

    int lanes() const { return m_vec.lanes; }

    //   samples    the first of lanes() frames; the others follow `hop` samples apart
    // Returns bins x lanes() magnitudes, that of bin k in frame f at [k * lanes() + f]; valid until the next call.
    const float* process(const float* samples, int hop);

private:
    void place(float* to, const float* samples, const float* window, int hop, int count);

    const MRSpectrum& m_spectrum;
    const kernels::Kernels& m_vec;
    int m_length, m_bins, m_taps, m_lanes;
    AlignedFloats m_work;       // transform, behind bins -taps / 2 .. -1
    AlignedFloats m_convolved;  // bins
    AlignedFloats m_magnitude;
};

}  // namespace KaTessel
