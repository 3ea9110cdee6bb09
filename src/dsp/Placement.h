// Putting a frame or a window into the buffer of a transform.
#pragma once

#include <algorithm>

namespace KaTessel {

// Writes value(i) for the samples i of a frame into a transform of n floats, everything else zero. Samples that do
// not fit into the transform are left out.
//
// Centred: the centre sample goes to index 0 and what precedes it to the end, so that a symmetric window has a real
// spectrum. The last sample of an odd frame is deliberately not used: frames overlap, and without it a frame of
// 1025 samples fills a transform of 1024.
template <typename Value>
void placeForTransform(float* to, long n, long length, bool centred, Value value) {
    std::fill_n(to, n, 0.0f);
    if (!centred) {
        for (long i = 0; i < std::min(length, n); ++i) to[i] = value(i);
        return;
    }
    const long centre = (length - 1) / 2;
    for (long i = std::max(0L, centre - n); i < centre; ++i) to[n - centre + i] = value(i);
    for (long i = 0; i < std::min(centre, n); ++i) to[i] = value(centre + i);
}

}  // namespace KaTessel
