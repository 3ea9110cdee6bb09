// Sums of products: dot, rowProduct, frameProduct, convolvePairs, polyphase.
//
// All are compared with loops in double precision. A float sum of n products is off by at most about n half units of
// the last place of the sum of the products' sizes, whatever the order; that bound is the tolerance everywhere here.
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;

const float kNaN = std::numeric_limits<float>::quiet_NaN();

double sumTolerance(int terms, double sizes) { return (terms + 2) * std::ldexp(1.0, -24) * sizes; }

std::vector<int> lengths() {
    std::vector<int> all;
    for (int n = 0; n <= 70; ++n) all.push_back(n);
    for (int n : {127, 150, 257, 513, 1024}) all.push_back(n);
    return all;
}

TEST(Kernels, DotOfEveryLength) {
    Random random(1);
    for (int n : lengths()) {
        const std::vector<float> a = random.values(n), b = random.values(n);
        double expected = 0.0, sizes = 0.0;
        for (int i = 0; i < n; ++i) {
            const double product = static_cast<double>(a[i]) * b[i];
            expected += product;
            sizes += std::abs(product);
        }
        const FencedInput fa(a), fb(b);
        EXPECT_NEAR(active->dot(fa.data(), fb.data(), n), expected, sumTolerance(n, sizes)) << "n = " << n;
    }
}

// One call of rowProduct. Between the rows and the taps of the weights lie NaNs, which no result may meet.
void checkRowProduct(Random& random, int nIn, int nOut, int taps, int gap) {
    const long rowStride = nIn + gap;
    const long tapStride = nOut * rowStride + 5;
    const long used = nOut == 0 ? 0 : (taps - 1) * tapStride + (nOut - 1) * rowStride + nIn;
    std::vector<float> w(static_cast<std::size_t>(used), kNaN);
    for (int t = 0; t < taps; ++t)
        for (int o = 0; o < nOut; ++o)
            for (int i = 0; i < nIn; ++i) w[t * tapStride + o * rowStride + i] = random.uniform(-1.0f, 1.0f);
    std::vector<std::vector<float>> x;
    for (int t = 0; t < taps; ++t) x.push_back(random.values(nIn));
    const std::vector<float> bias = random.values(nOut), before = random.values(nOut);

    const FencedInput fw(w), fbias(bias);
    std::vector<std::unique_ptr<FencedInput>> fences;
    std::vector<const float*> taken;
    for (const std::vector<float>& frame : x) {
        fences.push_back(std::make_unique<FencedInput>(frame));
        taken.push_back(fences.back()->data());
    }
    for (int mode = 0; mode < 4; ++mode) {
        const bool withBias = mode & 1, accumulate = mode & 2;
        GuardedBuffer out(before, mode);
        active->rowProduct(out.data(), fw.data(), rowStride, tapStride, taken.data(), taps, nIn, nOut,
                           withBias ? fbias.data() : nullptr, accumulate);
        const std::string where = "nIn " + std::to_string(nIn) + ", nOut " + std::to_string(nOut) + ", taps " +
                                  std::to_string(taps) + ", gap " + std::to_string(gap) + ", mode " +
                                  std::to_string(mode);
        for (int o = 0; o < nOut; ++o) {
            double expected = (withBias ? bias[o] : 0.0) + (accumulate ? before[o] : 0.0);
            double sizes = std::abs(bias[o]) + std::abs(before[o]);
            for (int t = 0; t < taps; ++t)
                for (int i = 0; i < nIn; ++i) {
                    const double product = static_cast<double>(w[t * tapStride + o * rowStride + i]) * x[t][i];
                    expected += product;
                    sizes += std::abs(product);
                }
            ASSERT_NEAR(out[o], expected, sumTolerance(nIn * taps + 2, sizes)) << where << ", output " << o;
        }
        ASSERT_TRUE(out.intact()) << where;
    }
}

TEST(Kernels, RowProductOfEveryShape) {
    Random random(2);
    for (int nIn = 0; nIn <= 70; ++nIn)
        for (int nOut : {0, 1, 3, 4, 7, 8, 9, 13, 16, 21}) {
            checkRowProduct(random, nIn, nOut, 1, (nIn + nOut) % 4);
            if (HasFatalFailure()) return;
        }
    for (int nIn : {1, 4, 5, 8, 9, 15, 16, 17, 31, 33, 70, 257})
        for (int taps = 2; taps <= kernels::kMaxTaps; ++taps) {
            checkRowProduct(random, nIn, 5 + taps * 3, taps, taps % 3);
            if (HasFatalFailure()) return;
        }
}

struct FrameShape {
    int frames, nOut, taps, nIn;
    long outGap, xGap;  // floats between the frames
};

// One call of frameProduct in each mode. NaNs fill the gaps between the frames of the input.
void checkFrameProduct(Random& random, const FrameShape& s) {
    const int panel = active->panel;
    const long outStride = s.nOut + s.outGap, xStride = s.nIn + s.xGap;
    // Weights by meaning, and the same in blocks of `panel` outputs, the last block filled up with zeros.
    const std::vector<float> weights = random.values(s.taps * s.nIn * s.nOut);  // [tap][input][output]
    const long rows = static_cast<long>(s.taps) * s.nIn;
    std::vector<float> packed(static_cast<std::size_t>((s.nOut + panel - 1) / panel * rows * panel), 0.0f);
    for (long row = 0; row < rows; ++row)
        for (int o = 0; o < s.nOut; ++o)
            packed[(o / panel * rows + row) * panel + o % panel] = weights[row * s.nOut + o];
    std::vector<std::unique_ptr<FencedInput>> fences;
    std::vector<const float*> taken;
    std::vector<std::vector<float>> x;
    for (int t = 0; t < s.taps; ++t) {
        std::vector<float> frames(s.frames == 0 ? 0 : static_cast<std::size_t>((s.frames - 1) * xStride + s.nIn), kNaN);
        for (int f = 0; f < s.frames; ++f)
            for (int i = 0; i < s.nIn; ++i) frames[f * xStride + i] = random.uniform(-1.0f, 1.0f);
        fences.push_back(std::make_unique<FencedInput>(frames));
        taken.push_back(fences.back()->data());
        x.push_back(frames);
    }
    const std::vector<float> bias = random.values(s.nOut);
    const std::vector<float> before = random.values(s.frames * static_cast<int>(outStride));
    const FencedInput fpacked(packed), fbias(bias);
    for (int mode = 0; mode < 4; ++mode) {
        const bool withBias = mode & 1, accumulate = mode & 2;
        GuardedBuffer out(before, mode);
        active->frameProduct(out.data(), outStride, s.frames, s.nOut, fpacked.data(), taken.data(), xStride, s.taps,
                             s.nIn, withBias ? fbias.data() : nullptr, accumulate);
        const std::string where = std::to_string(s.frames) + " frames, " + std::to_string(s.taps) + " taps of " +
                                  std::to_string(s.nIn) + " to " + std::to_string(s.nOut) + ", mode " +
                                  std::to_string(mode);
        for (int f = 0; f < s.frames; ++f) {
            for (int o = 0; o < s.nOut; ++o) {
                double expected = (withBias ? bias[o] : 0.0) + (accumulate ? before[f * outStride + o] : 0.0);
                double sizes = 2.0;
                for (int t = 0; t < s.taps; ++t)
                    for (int i = 0; i < s.nIn; ++i) {
                        const double product =
                            static_cast<double>(weights[(t * s.nIn + i) * s.nOut + o]) * x[t][f * xStride + i];
                        expected += product;
                        sizes += std::abs(product);
                    }
                ASSERT_NEAR(out[static_cast<int>(f * outStride + o)], expected, sumTolerance(s.nIn * s.taps + 2, sizes))
                    << where << ", frame " << f << ", output " << o;
            }
            for (long gap = s.nOut; gap < outStride; ++gap)
                ASSERT_EQ(out[static_cast<int>(f * outStride + gap)], before[f * outStride + gap]) << where;
        }
        ASSERT_TRUE(out.intact()) << where;
    }
}

TEST(Kernels, FrameProductOfEveryShape) {
    Random random(5);
    for (int frames : {0, 1, 2, 5, 6, 7, 11, 12, 13, 25})
        for (int nOut : {0, 1, 7, 8, 9, 15, 16, 17, 31, 33, 48, 70}) {
            checkFrameProduct(random, {frames, nOut, 1 + frames % 3, 3 + nOut % 5, nOut % 2, frames % 2});
            if (HasFatalFailure()) return;
        }
    for (const FrameShape& s : {FrameShape{30, 140, 3, 70, 0, 0}, {9, 12, 1, 0, 1, 1}, {40, 5, 17, 2, 3, 0}}) {
        checkFrameProduct(random, s);
        if (HasFatalFailure()) return;
    }
}

TEST(Kernels, ConvolvePairsOfEveryShape) {
    Random random(3);
    for (int pairFloats : {16, 32, 48, 96, 176})
        for (int bins : lengths()) {
            // Real taps: each stands twice, once for either half of a complex value.
            std::vector<float> kernel(static_cast<std::size_t>(pairFloats));
            for (int t = 0; t < pairFloats; t += 2) kernel[t] = kernel[t + 1] = random.uniform(-1.0f, 1.0f);
            const std::vector<float> spectrum = random.values(bins == 0 ? 0 : pairFloats + 2 * (bins - 1));
            const FencedInput fk(kernel), fs(spectrum);
            GuardedBuffer out(2 * bins);
            active->convolvePairs(out.data(), fs.data(), fk.data(), pairFloats, bins);
            for (int k = 0; k < bins; ++k)
                for (int half = 0; half < 2; ++half) {
                    double expected = 0.0, sizes = 0.0;
                    for (int t = 0; t < pairFloats / 2; ++t) {
                        const double product =
                            static_cast<double>(kernel[2 * t + half]) * spectrum[2 * (k + t) + half];
                        expected += product;
                        sizes += std::abs(product);
                    }
                    ASSERT_NEAR(out[2 * k + half], expected, sumTolerance(pairFloats / 2, sizes))
                        << pairFloats << " floats, bin " << k << " of " << bins << ", half " << half;
                }
            ASSERT_TRUE(out.intact()) << pairFloats << " floats, " << bins << " bins";
        }
}

TEST(Kernels, PolyphaseBetweenAllPhases) {
    struct Row {
        int taps, phases, count;
        double pos, step;
    };
    const Row rows[] = {
        {16, 16, 200, 0.0, 1.0},  {16, 16, 200, 0.5, 1.0 / 16},    {16, 16, 100, 7.40625, 2.0},
        {8, 16, 100, 0.25, 0.5},  {16, 16, 300, 0.1, 44100.0 / 24000.0}, {5, 3, 50, 0.0, 1.0 / 3.0},
        {1, 4, 20, 0.125, 0.375}, {21, 7, 40, 2.9, 4.0},           {16, 16, 0, 3.25, 2.0},
        {16, 16, 1, 3.999999, 2.0},
    };
    Random random(4);
    for (const Row& row : rows) {
        const std::vector<float> table = random.values((row.phases + 1) * row.taps);
        const double last = row.pos + (row.count - 1) * row.step;
        const std::vector<float> in = random.values(static_cast<int>(last) + 1 + row.taps);
        const FencedInput ftable(table), fin(in);
        GuardedBuffer out(row.count);
        const double after = active->polyphase(out.data(), row.count, fin.data(), row.pos, row.step, ftable.data(),
                                               row.taps, row.phases);
        // The position is a running sum in double precision; resamplers carry it on from block to block.
        double p = row.pos;
        for (int k = 0; k < row.count; ++k, p += row.step) {
            const int i = static_cast<int>(p);
            const int q = static_cast<int>((p - i) * row.phases);
            const double t = (p - i) * row.phases - q;
            double a = 0.0, b = 0.0, sizes = 0.0;
            for (int j = 0; j < row.taps; ++j) {
                a += static_cast<double>(in[i + j]) * table[q * row.taps + j];
                b += static_cast<double>(in[i + j]) * table[(q + 1) * row.taps + j];
                sizes += std::abs(in[i + j]) * (std::abs(table[q * row.taps + j]) +
                                                std::abs(table[(q + 1) * row.taps + j]));
            }
            ASSERT_NEAR(out[k], a + (b - a) * t, sumTolerance(row.taps + 3, sizes))
                << row.taps << " taps, " << row.phases << " phases, output " << k << " at " << p;
        }
        EXPECT_EQ(after, p);
        EXPECT_TRUE(out.intact());
    }
}

}  // namespace
}  // namespace KaTessel::tests
