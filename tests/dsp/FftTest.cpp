// The pieces of the transform, each by its meaning: what a stage leaves to do is done here in double precision, and
// the result must be the transform of what the stage was given.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "dsp/ReferenceTransform.h"
#include "katessel/CFFTOoura.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

// Rounding grows with the number of stages like a random walk: over ten seeds the worst of 65536 points was off by
// 1.1e-6 of the root mean square. A wrong factor at a single point shows at about 1.
constexpr double kTolerance = 2.5e-6;

constexpr double kFirstKind = 0.0, kSecondKind = 0.5;  // shift of the frequencies [bins]

using InPlace = std::function<void(int n, float* a)>;

struct Applied {
    Points before, after;
};

// Applies `transform` to n random floats.
Applied apply(const InPlace& transform, int n) {
    GuardedBuffer a(Random(static_cast<std::uint64_t>(n)).values(n));
    Applied result;
    result.before = interleavedPoints(a.data(), n);
    transform(n, a.data());
    EXPECT_TRUE(a.intact());
    result.after = interleavedPoints(a.data(), n);
    return result;
}

Points quarterOf(const Points& x, int q) {
    const auto quarter = static_cast<long>(x.size() / 4);
    return Points(x.begin() + q * quarter, x.begin() + (q + 1) * quarter);
}

Points conjugated(Points x) {
    for (auto& point : x) point = std::conj(point);
    return x;
}

Points inReversedOrder(const Points& x) {
    Points y(x.size());
    for (std::size_t k = 0; k < x.size(); ++k)
        y[static_cast<std::size_t>(reversedBits(static_cast<int>(k), static_cast<int>(x.size())))] = x[k];
    return y;
}

TEST(PlainFft, TheReferencesAgree) {
    for (int n : {1, 2, 8, 64}) {
        const Points x = interleavedPoints(Random(7).values(2 * n).data(), 2 * n);
        for (int sign : {1, -1})
            for (double shift : {kFirstKind, kSecondKind})
                EXPECT_LT(relativeError(halvedTransform(x, sign, shift), definedTransform(x, sign, shift)), 1e-13)
                    << n << " points, sign " << sign << ", shift " << shift;
    }
}

TEST(PlainFft, FixedKernels) {
    CFFTOoura fft;
    struct Kernel {
        const char* name;
        int n;
        double shift;
        bool reversed;
        InPlace transform;
    };
    const std::vector<Kernel> kernels = {
        {"cftf161", 32, kFirstKind, true, [&](int, float* a) { fft.cftf161(a); }},
        {"cftf162", 32, kSecondKind, true, [&](int, float* a) { fft.cftf162(a); }},
        {"cftf081", 16, kFirstKind, true, [&](int, float* a) { fft.cftf081(a); }},
        {"cftf082", 16, kSecondKind, true, [&](int, float* a) { fft.cftf082(a); }},
        {"cftf040", 8, kFirstKind, false, [&](int, float* a) { fft.cftf040(a); }},
    };
    for (const Kernel& kernel : kernels) {
        const Applied r = apply(kernel.transform, kernel.n);
        const Points expected = definedTransform(r.before, 1, kernel.shift);
        EXPECT_LT(relativeError(kernel.reversed ? inReversedOrder(r.after) : r.after, expected), kTolerance)
            << kernel.name;
    }
}

// A stage's four blocks, transformed by their kinds, are every fourth bin of the whole: first those that are
// multiples of 4, then 4q + 2, 4q + 1 and 4q + 3.
TEST(PlainFft, StagesLeaveBlocksOfTheirKinds) {
    CFFTOoura fft;
    struct Stage {
        const char* name;
        double shift;
        double left[4];
        bool conjugatesInput;
        InPlace transform;
    };
    const std::vector<Stage> stages = {
        {"cftmdl1", kFirstKind, {kFirstKind, kSecondKind, kFirstKind, kFirstKind}, false,
         [&](int n, float* a) { fft.cftmdl1(n, a); }},
        {"cftmdl2", kSecondKind, {kFirstKind, kSecondKind, kFirstKind, kSecondKind}, false,
         [&](int n, float* a) { fft.cftmdl2(n, a); }},
        {"cftb1st", kFirstKind, {kFirstKind, kSecondKind, kFirstKind, kFirstKind}, true,
         [&](int n, float* a) { fft.cftb1st(n, a); }},
    };
    const int offsets[4] = {0, 2, 1, 3};
    for (const Stage& stage : stages) {
        for (int n = 32; n <= 131072; n *= 2) {
            const Applied r = apply(stage.transform, n);
            Points whole(r.after.size());
            for (int q = 0; q < 4; ++q) {
                const Points block = halvedTransform(quarterOf(r.after, q), 1, stage.left[q]);
                for (std::size_t m = 0; m < block.size(); ++m)
                    whole[4 * m + static_cast<std::size_t>(offsets[q])] = block[m];
            }
            const Points given = stage.conjugatesInput ? conjugated(r.before) : r.before;
            EXPECT_LT(relativeError(whole, halvedTransform(given, 1, stage.shift)), kTolerance)
                << stage.name << ", n = " << n;
        }
    }
}

TEST(PlainFft, BlocksAfterAStage) {
    CFFTOoura fft;
    struct Blocks {
        const char* name;
        int smallest, largest;
        double kinds[4];
        InPlace transform;
    };
    const std::vector<Blocks> table = {
        {"cftfx41", 64, 128, {kFirstKind, kSecondKind, kFirstKind, kFirstKind},
         [&](int n, float* a) { fft.cftfx41(n, a); }},
        {"cftleaf, first kind", 256, 512, {kFirstKind, kSecondKind, kFirstKind, kFirstKind},
         [&](int n, float* a) { fft.cftleaf(n, 1, a); }},
        {"cftleaf, second kind", 256, 512, {kFirstKind, kSecondKind, kFirstKind, kSecondKind},
         [&](int n, float* a) { fft.cftleaf(n, 0, a); }},
        {"cftrec4", 1024, 131072, {kFirstKind, kSecondKind, kFirstKind, kFirstKind},
         [&](int n, float* a) { fft.cftrec4(n, a); }},
    };
    for (const Blocks& blocks : table) {
        for (int n = blocks.smallest; n <= blocks.largest; n *= 2) {
            const Applied r = apply(blocks.transform, n);
            for (int q = 0; q < 4; ++q)
                EXPECT_LT(relativeError(inReversedOrder(quarterOf(r.after, q)),
                                        halvedTransform(quarterOf(r.before, q), 1, blocks.kinds[q])),
                          kTolerance)
                    << blocks.name << ", n = " << n << ", block " << q;
        }
    }
}

TEST(PlainFft, BitReversalMovesValuesUnchanged) {
    CFFTOoura fft;
    for (int n = 2; n <= 131072; n *= 2) {
        const Applied plain = apply([&](int length, float* a) { fft.bitrv2(length, a); }, n);
        EXPECT_EQ(plain.after, inReversedOrder(plain.before)) << n;
        const Applied conjugating = apply([&](int length, float* a) { fft.bitrv2conj(length, a); }, n);
        EXPECT_EQ(conjugating.after, conjugated(inReversedOrder(conjugating.before))) << n;
    }
}

TEST(PlainFft, WholeTransformsInBothDirections) {
    CFFTOoura fft;
    for (int n = 2; n <= 131072; n *= 2) {
        const Applied forward = apply([&](int length, float* a) { fft.forward(length, a); }, n);
        EXPECT_LT(relativeError(forward.after, halvedTransform(forward.before, 1)), kTolerance) << n;
        const Applied backward = apply([&](int length, float* a) { fft.backward(length, a); }, n);
        EXPECT_LT(relativeError(backward.after, halvedTransform(backward.before, -1)), kTolerance) << n;
    }
}

// Bin 0 of the half-length transform stays as it is, and the way back leads to where it began.
TEST(PlainFft, RealPostProcessingAndItsInverse) {
    CFFTOoura fft;
    for (int n = 8; n <= 131072; n *= 2) {
        GuardedBuffer a(Random(static_cast<std::uint64_t>(n)).values(n));
        const Points half = halvedTransform(interleavedPoints(a.data(), n), 1);
        Points whole = halvedTransform(realPoints(a.data(), n), 1);
        whole.resize(half.size());
        whole[0] = half[0];
        for (std::size_t k = 0; k < half.size(); ++k) {
            a.data()[2 * k] = static_cast<float>(half[k].real());
            a.data()[2 * k + 1] = static_cast<float>(half[k].imag());
        }
        fft.realPost(n, a.data());
        EXPECT_LT(relativeError(interleavedPoints(a.data(), n), whole), kTolerance) << n;
        fft.realPre(n, a.data());
        EXPECT_LT(relativeError(interleavedPoints(a.data(), n), half), kTolerance) << n;
        EXPECT_TRUE(a.intact()) << n;
    }
}

}  // namespace
}  // namespace KaTessel::tests
