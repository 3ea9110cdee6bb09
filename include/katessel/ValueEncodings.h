// One number as n soft activations of evenly spaced levels, so that a network can take it as a distributed input.
//
// Level k of the linear and the coarse form lies at lo + k * (hi - lo) / (n - 1), that of the circular form at k / n of
// the circle. An empty vector is what all forms return for hi equal to lo and for n below 1, and the linear and the
// coarse form, whose levels lie between two ends, for n equal to 1.
#ifndef KATESSEL_VALUEENCODINGS_H
#define KATESSEL_VALUEENCODINGS_H

#include <vector>

#include "katessel/Export.h"

namespace KaTessel {

// Triangles that reach as far as the neighbouring level: x, clamped to lo .. hi, shares 1 between the two levels around
// it. hi must not be below lo. Returns n values.
KATESSEL_API std::vector<float> linear_encoding(float x, int n, float lo, float hi);

// Triangles twice as wide: on a level, x activates it with 1 and both neighbours with 0.5.
KATESSEL_API std::vector<float> coarse_encoding(float x, int n, float lo, float hi);

// Gaussians around the circle that lo and hi close, for a periodic x, clamped to lo .. hi: exp(-sharpness * d^2) at a
// distance of d levels. Each is wrapped once in either direction.
KATESSEL_API std::vector<float> circular_encoding(float x, int n, float lo, float hi, float sharpness);

// One encoding per value, in order.
KATESSEL_API std::vector<std::vector<float>> linear_encoding(std::vector<float> x, int n, float lo, float hi);
KATESSEL_API std::vector<std::vector<float>> coarse_encoding(std::vector<float> x, int n, float lo, float hi);

// One encoding per frame, of its first value alone; an empty vector for a frame without values.
KATESSEL_API std::vector<std::vector<float>> linear_encoding(std::vector<std::vector<float>> frames, int n, float lo,
                                                             float hi);
KATESSEL_API std::vector<std::vector<float>> coarse_encoding(std::vector<std::vector<float>> frames, int n, float lo,
                                                             float hi);

}  // namespace KaTessel

#endif
