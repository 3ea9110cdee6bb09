// The kernels of one frame's spectrum.
#include <cmath>
#include <vector>

#include "dsp/ReferenceTransform.h"
#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;
using kernels::kFrameTaps;

TEST(FrameKernels, TransformIsTheSumOverAllSamplesTurnedByHalf) {
    Random random(91);
    const std::vector<float> samples = random.values(1024);
    const FencedInput input(samples);
    const kernels::FrameFactors factors(active->lanes);
    struct alignas(64) Bins {
        float values[513 + 16];
    } re, im;
    re.values[513] = im.values[513] = 77.0f;
    active->transformFrame(re.values, im.values, input.data(), factors);
    std::vector<float> turned(samples.begin() + 512, samples.end());
    turned.insert(turned.end(), samples.begin(), samples.begin() + 512);
    Points expected = definedTransform(realPoints(turned), -1), actual;
    expected.resize(513);
    for (int k = 0; k <= 512; ++k) actual.emplace_back(re.values[k], im.values[k]);
    EXPECT_LT(relativeError(actual, expected), 2e-6);
    EXPECT_EQ(im.values[0], 0.0f);
    EXPECT_EQ(im.values[512], 0.0f);
    EXPECT_EQ(re.values[513], 77.0f);
    EXPECT_EQ(im.values[513], 77.0f);
}

TEST(FrameKernels, ConvolutionWithSharedAndWithOwnTaps) {
    Random random(92);
    const int lanes = active->lanes;
    for (int vectors = 1; vectors <= 19; ++vectors)
        for (const bool own : {false, true}) {
            const int bins = vectors * lanes;
            const std::vector<float> taps = random.values(own ? bins * kFrameTaps : kFrameTaps);
            const std::vector<float> re = random.values(bins + kFrameTaps - 1),
                                     im = random.values(bins + kFrameTaps - 1);
            const FencedInput ftaps(taps), fre(re), fim(im);
            GuardedBuffer pairs(2 * bins), magnitude(bins);
            active->convolveFrame(pairs.data(), magnitude.data(), fre.data(), fim.data(), ftaps.data(), own, bins);
            for (int k = 0; k < bins; ++k) {
                double sums[2] = {};
                for (int t = 0; t < kFrameTaps; ++t) {
                    const int at = own ? (k / lanes * kFrameTaps + t) * lanes + k % lanes : t;
                    sums[0] += double{taps[static_cast<std::size_t>(at)]} * re[static_cast<std::size_t>(k + t)];
                    sums[1] += double{taps[static_cast<std::size_t>(at)]} * im[static_cast<std::size_t>(k + t)];
                }
                // 41 products below 1, whose sums pass 8; every addition rounds.
                ASSERT_NEAR(pairs[2 * k], sums[0], 1e-5) << k << " of " << bins << (own ? ", own taps" : "");
                ASSERT_NEAR(pairs[2 * k + 1], sums[1], 1e-5) << k << " of " << bins << (own ? ", own taps" : "");
                ASSERT_NEAR(magnitude[k], std::hypot(sums[0], sums[1]), 1.5e-5) << k;
            }
            ASSERT_TRUE(pairs.intact() && magnitude.intact()) << bins;
        }
}

}  // namespace
}  // namespace KaTessel::tests
