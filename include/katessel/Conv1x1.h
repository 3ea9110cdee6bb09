// Pointwise convolution: the toolkit's dense layer, one frame or a sequence of frames at a time.
#ifndef KATESSEL_CONV1X1_H
#define KATESSEL_CONV1X1_H

#include <string>
#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// One frame: out = W x + b, with x the input or an encoding of it.
//
//   in            nIn values
//   out           nOut values, written or added to; must not overlap `in`
//   W             one row per output; a row holds nIn weights, or as many as the encoded input has entries
//   b             nOut values, or null
//   inStart, inEnd  only inputs inStart .. inEnd - 1 take part; negative: from 0, to the end
//   accumulate    add to `out` instead of replacing it
//   mask          must be null; otherwise "ERROR: not implemented" is printed and nothing is written
//   oneHotLevels  K > 0: each input, -1 .. 1, becomes weights on the two nearest of K levels (clamped; neither
//                 input range nor row offset apply). -K < 0: a one on the nearest of K levels (clamped), then,
//                 after all of these, one residual per input: (K + 1) * nIn entries
//   coarseLevels  C > 0: each input becomes C triangles centred evenly over -1 .. 1 (not clamped)
//   dual8bitMode  1: each input, quantised to 16 bits, becomes ones at its high byte and at 256 + its low byte
//                 (512 entries); 2: a one at its high byte, and its low byte scaled to -1 .. 1 (257 entries);
//                 other values above 0 print a message and write nothing
//   rowOffset     0 or more: output o uses row rowOffset + o of W, over the whole input
//
// dual8bitMode goes before coarseLevels, that before oneHotLevels. Encodings use scratch of the calling thread;
// beyond 4096 one-hot entries, 128 interpolated inputs or 30 coarse or dual 8-bit inputs a warning is printed first
// and the scratch grows.
KATESSEL_API void conv1x1(float* in, float* out, float* W, float* b, int nIn, int nOut, int inStart, int inEnd,
                          bool accumulate, bool* mask, int oneHotLevels, int coarseLevels, int dual8bitMode,
                          int rowOffset);

// A sequence of frames through layer `layerName` of the weight file at `path`: nIn rows by nOut columns.
// `out` becomes as long as `in`; frames it lacks are appended as nOut zeros, frames it has keep their size,
// which must be at least nOut. Encodings of more than one value per input and row offsets above 0 need a larger matrix
// than this form loads: with them "ERROR: not implemented" is printed and the frames stay as they are.
KATESSEL_API void conv1x1(std::vector<std::vector<float>> in, std::vector<std::vector<float>>& out, std::string path,
                          std::string layerName, int nIn, int nOut, int inStart, int inEnd, bool accumulate, bool* mask,
                          int oneHotLevels, int coarseLevels, int dual8bitMode, int rowOffset);

}  // namespace KaTessel

#endif
