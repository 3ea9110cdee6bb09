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
    //   prepared   analyser whose windows are built; must outlive this
    //   length     samples of a frame, odd, at most one more than the transform
    //   bins       bins 0 .. bins - 1 are computed; they must stay half a kernel below the last one
    LaneSpectrum(const MRSpectrum& prepared, int length, int bins);

    // The variant that all frames are computed with, in use when this was made.
    const kernels::Kernels& vec() const { return m_vec; }
    int lanes() const { return m_vec.lanes; }

    //   samples    the first frame; the others follow `hop` samples apart
    //   frames     1 .. lanes()
    // Returns bins x lanes() magnitudes, that of bin k in frame f at [k * lanes() + f]; valid until the next call.
    const float* process(const float* samples, int hop, int frames);

private:
    void extend();

    const MRSpectrum& m_spectrum;
    const kernels::Kernels& m_vec;
    int m_length, m_bins, m_taps, m_lanes;
    AlignedFloats m_work;       // transform
    AlignedFloats m_extended;   // bins -taps / 2 .. bins - 1 + taps / 2
    AlignedFloats m_convolved;  // bins
    AlignedFloats m_magnitude;
};

}  // namespace KaTessel
