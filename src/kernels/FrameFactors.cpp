#include "kernels/FrameFactors.h"

#include <cmath>

namespace KaTessel::kernels {
namespace {

constexpr double kTurn = 6.28318530717958647692;

void fillPasses(float* to, int points) {
    for (int n = points; n >= 4; n /= 4)
        for (int p = 0; p < n / 4; ++p)
            for (int m = 1; m <= 3; ++m) {
                *to++ = static_cast<float>(std::cos(kTurn * p * m / n));
                *to++ = static_cast<float>(-std::sin(kTurn * p * m / n));
            }
}

}  // namespace

FrameFactors::FrameFactors(int lanes) {
    // All angles are multiples of one in 1024.
    float cosine[2 * kFramePoints], sine[2 * kFramePoints];
    for (int k = 0; k < 2 * kFramePoints; ++k) {
        cosine[k] = static_cast<float>(std::cos(kTurn * k / (2 * kFramePoints)));
        sine[k] = static_cast<float>(std::sin(kTurn * k / (2 * kFramePoints)));
    }
    for (int c = 0; c < kFramePoints / lanes; ++c)
        for (int b = 0; b < lanes; ++b) {
            const int angle = 2 * b * c % (2 * kFramePoints);
            turnRe[c * lanes + b] = cosine[angle];
            turnIm[c * lanes + b] = -sine[angle];
        }
    for (int k = 0; k < kFramePoints; ++k) {
        mixRe[k] = -0.5f * sine[k];
        mixIm[k] = -0.5f * cosine[k];
    }
    fillPasses(rows, kFramePoints / lanes);
    fillPasses(columns, lanes);
}

}  // namespace KaTessel::kernels
