// Bit reversal in place: point k changes places with the point whose index has the bits of k in reverse.
#pragma once

#include "fft/Complex.h"

namespace KaTessel {
namespace {

// The next index in the order of reversed bits, of `points` a power of two: an addition that carries downwards.
inline int nextReversed(int reversed, int points) {
    int bit = points / 2;
    while (bit > 0 && (reversed & bit) != 0) {
        reversed ^= bit;
        bit /= 2;
    }
    return reversed | bit;
}

template <bool kConjugate, typename Real>
inline void exchange(Real* a, int i, int j) {
    const ComplexOf<Real> x = get(a, i), y = get(a, j);
    set(a, i, kConjugate ? conjugate(y) : y);
    set(a, j, kConjugate ? conjugate(x) : x);
}

// Reorders the points of n floats, and conjugates them with kConjugate.
template <bool kConjugate, typename Real>
void reverseBits(int n, Real* a) {
    const int points = n / 2;
    if (points < 4) {  // one or two points keep their places
        if (kConjugate)
            for (int k = 0; k < points; ++k) a[2 * k + 1] = -a[2 * k + 1];
        return;
    }
    // Four neighbours at a time: their last two bits become the first two.
    const int quarter = points / 4;
    const int offsets[4] = {0, 2 * quarter, quarter, 3 * quarter};
    int reversed = 0;
    for (int four = 0; four < quarter; ++four) {
        for (int last = 0; last < 4; ++last) {
            const int i = 4 * four + last, j = reversed + offsets[last];
            if (i < j)
                exchange<kConjugate>(a, i, j);
            else if (kConjugate && i == j)
                a[2 * i + 1] = -a[2 * i + 1];
        }
        reversed = nextReversed(reversed, quarter);
    }
}

}  // namespace
}  // namespace KaTessel
