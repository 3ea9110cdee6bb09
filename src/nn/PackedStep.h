// The streaming step with look-ahead on packed weights.
#pragma once

#include "katessel/WaveNet2.h"
#include "nn/PackedNetwork.h"

namespace KaTessel {

// What wavenet2_step_noncausal does, for networks with a pointwise initial convolution of one row per output and at most
// kMaxTaps taps, up to float rounding. Both go on from the state that the other left, which is all in `net`; tanhOut and
// sigmoidOut are not written.
//   packed    made from a network of the weights of `net`
//   branches  scratch, 2 nResidual values
//   in        nInputs values
void packedStep(const PackedNetwork& packed, float* branches, float* in, T_WN2& net);

}  // namespace KaTessel
