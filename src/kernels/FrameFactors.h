// The factors of the vector transform of one frame, FrameTransform.h, which says how they are used.
#pragma once

namespace KaTessel::kernels {

constexpr int kFramePoints = 512;  // complex, of a frame of 1024 real samples

struct alignas(64) FrameFactors {
    explicit FrameFactors(int lanes);

    // exp(-2 pi i b c / 512) for column b of the row c, at [c * lanes + b].
    float turnRe[kFramePoints], turnIm[kFramePoints];
    // -i exp(-2 pi i k / 1024) / 2, which joins the transforms of the even and the odd samples.
    float mixRe[kFramePoints], mixIm[kFramePoints];
    // Of the passes of a transform of 512 / lanes and of `lanes` points: per pass of radix 4 over n points, for each
    // p < n / 4, the pairs exp(-2 pi i p m / n) for m = 1, 2, 3.
    float rows[2 * kFramePoints], columns[2 * 16];
};

}  // namespace KaTessel::kernels
