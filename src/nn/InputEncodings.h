// Input values, nominally -1 .. 1, encoded as one-hot, coarse or byte-wise vectors that a layer multiplies instead.
#pragma once

#include <vector>

namespace KaTessel {

// An encoded frame: scratch of the calling thread, valid until the next encoding on it.
struct EncodedInput {
    float* values;
    int count;
};

// Prints a warning when a one-hot encoding of `count` values is beyond what layers are meant for.
void warnOfLargeOneHot(int count);

// Prints a warning when a coarse or dual 8-bit encoding of nIn inputs is beyond what layers are meant for.
void warnOfManyInputs(int nIn);

// Per input a one on the nearest of `levels` levels, then, after all inputs, the distance above it per input:
// (levels + 1) * nIn values.
EncodedInput encodeOneHotWithResidual(const float* in, int nIn, int levels);

// Per input `levels` triangles, each one level wide on both sides, centred evenly over -1 .. 1.
EncodedInput encodeCoarse(const float* in, int nIn, int levels);

// Per input, quantised to 16 bits, ones at its high byte and at 256 + its low byte: 512 * nIn values.
EncodedInput encodeDual8bitOneHot(const float* in, int nIn);

// Per input, quantised to 16 bits, a one at its high byte and the low byte scaled to -1 .. 1: 257 * nIn values.
EncodedInput encodeDual8bitScaled(const float* in, int nIn);

// Where an input lies between two neighbouring levels: weight 1 - fraction on `level`, fraction on the next. At the
// last level the fraction is 0.
struct LevelPosition {
    int level;
    float fraction;
};

// Positions of nIn inputs among `levels` levels, clamped to the end levels; scratch of the calling thread.
const LevelPosition* locateLevels(const float* in, int nIn, int levels);

}  // namespace KaTessel
