// Sums of products, compared with loops in double precision. dot and polyphase are tested with the interpolator.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;

const float kNaN = std::numeric_limits<float>::quiet_NaN();

// A float sum of n products is off by at most about n half units of the last place of the sum of the products' sizes,
// whatever the order.
struct Sum {
    double value = 0.0, sizes = 0.0;
    int terms = 2;

    void add(double a, double b = 1.0) {
        value += a * b;
        sizes += std::abs(a * b);
        ++terms;
    }
    double tolerance() const { return terms * std::ldexp(1.0, -24) * sizes; }
};

struct Product {
    int frames, nOut, taps, nIn;
    int outGap, xGap;  // floats between the frames
    int rowGap = -1;   // floats between the rows of rowProduct; negative: frameProduct
};

// One kernel in all its modes. Gaps in what it reads are filled with NaNs, which no result may meet.
void checkProduct(Random& random, const Product& s) {
    SCOPED_TRACE(testing::Message() << s.frames << " frames, " << s.taps << " taps of " << s.nIn << " to " << s.nOut
                                    << ", gap " << s.rowGap);
    const bool byRows = s.rowGap >= 0;
    const int rowStride = s.nIn + s.rowGap, tapStride = s.nOut * rowStride + 5;
    const int lanes = active->lanes, block = active->blockVectors * lanes, whole = (s.nOut + lanes - 1) / lanes * lanes;
    const int outStride = s.nOut + s.outGap, xStride = s.nIn + s.xGap;
    const auto weightAt = [&](int tap, int input, int output) {
        const auto at = [&] {
            if (byRows) return tap * tapStride + output * rowStride + input;
            const int first = output / block * block, width = std::min(whole - first, block);
            return first * s.taps * s.nIn + (tap * s.nIn + input) * width + output - first;
        };
        return static_cast<std::size_t>(at());
    };
    auto used = static_cast<std::size_t>(whole * s.taps * s.nIn);
    if (byRows) used = s.nOut == 0 ? 0 : weightAt(s.taps - 1, s.nIn, s.nOut - 1);
    std::vector<float> w(used, byRows ? kNaN : 0.0f);
    std::vector<std::unique_ptr<FencedInput>> fences;
    std::vector<const float*> taken;
    for (int t = 0; t < s.taps; ++t) {
        for (int i = 0; i < s.nIn; ++i)
            for (int o = 0; o < s.nOut; ++o) w[weightAt(t, i, o)] = random.uniform(-1.0f, 1.0f);
        const std::vector<float> gaps(static_cast<std::size_t>(s.frames == 0 ? 0 : (s.frames - 1) * xStride + s.nIn),
                                      kNaN);
        fences.push_back(std::make_unique<FencedInput>(gaps));
        for (int f = 0; f < s.frames; ++f)
            for (int i = 0; i < s.nIn; ++i) fences.back()->data()[f * xStride + i] = random.uniform(-1.0f, 1.0f);
        taken.push_back(fences.back()->data());
    }
    const std::vector<float> bias = random.values(s.nOut), before = random.values(s.frames * outStride);
    const FencedInput fw(w), fbias(bias), fbefore(before);
    for (int mode = 0; mode < 4; ++mode) {
        const bool accumulate = mode & 2;
        const float* usedBias = mode & 1 ? fbias.data() : nullptr;
        GuardedBuffer out(before, mode);
        if (byRows)
            active->rowProduct(out.data(), fw.data(), rowStride, tapStride, taken.data(), s.taps, s.nIn, s.nOut,
                               usedBias, accumulate);
        else
            active->frameProduct(out.data(), outStride, s.frames, s.nOut, fw.data(), taken.data(), xStride, s.taps,
                                 s.nIn, usedBias, accumulate);
        ASSERT_TRUE(out.intact()) << "mode " << mode;
        for (int k = 0; k < out.size(); ++k) {
            const int f = k / outStride, o = k % outStride;
            Sum expected;
            if (o >= s.nOut || accumulate) expected.add(fbefore[k]);
            if (o < s.nOut && usedBias != nullptr) expected.add(fbias[o]);
            for (std::size_t t = 0; t < taken.size() && o < s.nOut; ++t)
                for (int i = 0; i < s.nIn; ++i)
                    expected.add(w[weightAt(static_cast<int>(t), i, o)], taken[t][f * xStride + i]);
            ASSERT_NEAR(out[k], expected.value, o < s.nOut ? expected.tolerance() : 0.0)
                << "mode " << mode << ", frame " << f << ", output " << o;
        }
    }
}

TEST(Kernels, RowAndFrameProductsOfEveryShape) {
    std::vector<Product> shapes;
    for (int nIn = 0; nIn <= 70; ++nIn)
        for (int nOut : {0, 1, 3, 4, 7, 8, 9, 13, 21}) shapes.push_back({1, nOut, 1, nIn, 0, 0, (nIn + nOut) % 4});
    for (int nIn : {1, 4, 5, 8, 9, 15, 16, 17, 31, 33, 257})
        for (int taps = 2; taps <= kernels::kMaxTaps; ++taps)
            shapes.push_back({1, 5 + taps * 3, taps, nIn, 0, 0, taps % 3});
    for (int frames : {0, 1, 2, 5, 6, 7, 11, 12, 13, 25})
        for (int nOut : {0, 1, 7, 8, 9, 15, 16, 17, 31, 33, 48, 70})
            shapes.push_back({frames, nOut, 1 + frames % 3, 3 + nOut % 5, nOut % 2, frames % 2});
    for (int frames : {1, 30})
        for (int nOut : {70, 120, 140, 155, 300}) shapes.push_back({frames, nOut, 3, nOut == 140 ? 70 : 5, 0, 0});
    shapes.push_back({9, 12, 1, 0, 1, 1});
    Random random(2);
    for (const Product& shape : shapes) {
        checkProduct(random, shape);
        if (HasFatalFailure()) return;
    }
}

// The vectors of a row's last inputs overlap those before: no input may meet a weight twice, not even times zero.
TEST(Kernels, AnInfiniteWeightMakesItsOutputInfiniteAndNoOtherNumber) {
    Random random(4);
    for (int nIn = 1; nIn <= 40; ++nIn) {
        const std::vector<float> x = random.values(nIn, 0.5f, 1.0f);
        const float* taken = x.data();
        for (int at = 0; at < nIn; ++at) {
            std::vector<float> w = random.values(9 * nIn), out(9);
            w[static_cast<std::size_t>(4 * nIn + at)] = -std::numeric_limits<float>::infinity();
            active->rowProduct(out.data(), w.data(), nIn, 0, &taken, 1, nIn, 9, nullptr, false);
            for (int o = 0; o < 9; ++o)
                ASSERT_EQ(out[static_cast<std::size_t>(o)] < -1e30f, o == 4) << at << " of " << nIn << ", output " << o;
        }
    }
}

TEST(Kernels, ShortDotsFromAnyStart) {
    Random random(5);
    for (int n = 0; n <= 40; ++n) {
        const std::vector<float> rows = random.values(n * kernels::kShortRow),
                                 x = random.values(kernels::kShortRow + 39);
        std::vector<int> starts;
        for (int r = 0; r < n; ++r) starts.push_back(r * 17 % 40);
        const FencedInput frows(rows), fx(x);
        GuardedBuffer out(n);
        active->shortDots(out.data(), frows.data(), fx.data(), starts.data(), n);
        for (int r = 0; r < n; ++r) {
            Sum expected;
            for (int i = 0; i < kernels::kShortRow; ++i)
                expected.add(rows[static_cast<std::size_t>(r * kernels::kShortRow + i)],
                             x[static_cast<std::size_t>(starts[static_cast<std::size_t>(r)] + i)]);
            ASSERT_NEAR(out[r], expected.value, expected.tolerance()) << r << " of " << n;
        }
        ASSERT_TRUE(out.intact()) << n;
    }
}

TEST(Kernels, ConvolvePairsOfEveryShape) {
    Random random(3);
    for (int pairFloats : {16, 32, 48, 96, 176})
        for (int bins = 0; bins <= 70; ++bins) {
            // Real taps: each stands twice, once for either half of a complex value.
            std::vector<float> kernel;
            for (int t = 0; t < pairFloats; t += 2) kernel.insert(kernel.end(), 2, random.uniform(-1.0f, 1.0f));
            const std::vector<float> spectrum = random.values(bins == 0 ? 0 : pairFloats + 2 * (bins - 1));
            const FencedInput fk(kernel), fs(spectrum);
            GuardedBuffer out(2 * bins);
            active->convolvePairs(out.data(), fs.data(), fk.data(), pairFloats, bins);
            for (int k = 0; k < 2 * bins; ++k) {
                Sum expected;
                for (int t = 0; t < pairFloats; t += 2) expected.add(fk[t], fs[k + t]);
                ASSERT_NEAR(out[k], expected.value, expected.tolerance())
                    << pairFloats << " floats, " << bins << " bins, value " << k;
            }
            ASSERT_TRUE(out.intact()) << pairFloats << " floats, " << bins << " bins";
        }
}

}  // namespace
}  // namespace KaTessel::tests
