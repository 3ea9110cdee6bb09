// Every family of windows against its formula, and what holds for all of them.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

#include "dsp/WindowReference.h"
#include "katessel/MRSpectrum.h"
#include "support/GuardedBuffer.h"

namespace KaTessel::tests {
namespace {

constexpr int kCodes[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 200, 255};

class PlainWindows : public testing::Test {
protected:
    std::vector<float> window(int code, int n, bool ignoredFlag = false, bool derivative = false) {
        GuardedBuffer w(n, 1, 77.0f);
        float* out = w.data();
        EXPECT_EQ(m_spectrum.GetWindow(n, static_cast<char>(code), &out, ignoredFlag, derivative), 0);
        EXPECT_EQ(out, w.data()) << "the caller's pointer stays";
        EXPECT_TRUE(w.intact()) << "code " << code << ", n = " << n;
        return std::vector<float>(w.data(), w.data() + n);
    }

    MRSpectrum m_spectrum;
};

double sum(const std::vector<float>& w) { return std::accumulate(w.begin(), w.end(), 0.0); }

TEST_F(PlainWindows, FollowTheirFormulas) {
    for (int code : kCodes) {
        for (int n : {3, 4, 5, 16, 17, 278, 279, 1024, 1025, 4097}) {
            const std::vector<float> w = window(code, n);
            const std::vector<double> expected = referenceWindow(code, n);
            // Two roundings a sample; some families also add up their sum as a float, which drifts with the length.
            const double peak = *std::max_element(expected.begin(), expected.end());
            const double tolerance = peak * (2.5e-7 + 1e-9 * n);
            for (int i = 0; i < n; ++i)
                ASSERT_NEAR(w[static_cast<std::size_t>(i)], expected[static_cast<std::size_t>(i)], tolerance)
                    << "code " << code << ", n = " << n << ", sample " << i;
            EXPECT_NEAR(sum(w), 2.0, 1e-6 + 2e-9 * n) << "code " << code << ", n = " << n;
        }
    }
}

// The first sample is a stored constant; those of the families that nearly vanish there differ from their formulas.
TEST_F(PlainWindows, FirstSamples) {
    struct Row {
        int code;
        double first;
    };
    for (const Row& row : {Row{0, 0.079999998}, {8, 0.012719993}, {9, 0.0048999786}, {10, -4.6837534e-17},
                           {11, 0.0021800152}, {12, 5.9968792e-05}}) {
        const int n = 279;
        double total = row.first;
        for (int i = 1; i < n; ++i) total += windowSample(row.code, i, n);
        const double expected = row.first * 2.0 / total;
        EXPECT_NEAR(window(row.code, n)[0], expected, std::abs(expected) * 6e-7) << "code " << row.code;
        EXPECT_EQ(window(row.code, 1)[0], 2.0f) << "code " << row.code;
    }
    EXPECT_EQ(window(14, 1)[0], 2.0f);
    for (int n : {3, 279, 1025})
        for (int code : {13, 15}) {
            EXPECT_EQ(window(code, n).front(), 0.0f) << "code " << code << ", n = " << n;
            EXPECT_EQ(window(code, n).back(), 0.0f) << "code " << code << ", n = " << n;
        }
}

TEST_F(PlainWindows, DerivativeOfBlackmanHarrisLike) {
    const double like[4] = {0.47, 0.45, -0.01, 0.01};
    for (int n : {4, 279, 1025}) {
        const std::vector<float> d = window(10, n, false, true);
        double total = 0.0;
        for (int i = 0; i < n; ++i) total += windowSample(10, i, n);
        EXPECT_EQ(d[0], 0.0f);
        EXPECT_TRUE(std::signbit(d[0]));
        // Scaled by the sum of the window itself. Central differences are good to 1e-7 of the steepest slope.
        const double step = kFloatTwoPi / (n - 1), h = 1e-4;
        for (int i = 1; i < n; ++i) {
            const double slope = (cosineSum(like, i * step + h) - cosineSum(like, i * step - h)) / (2.0 * h) * step;
            ASSERT_NEAR(d[static_cast<std::size_t>(i)], -slope * 2.0 / total, 1.5e-6 * step * 2.0 / total)
                << "n = " << n << ", sample " << i;
        }
    }
}

TEST_F(PlainWindows, FlagsAndCodesWithoutEffect) {
    const std::vector<float> harris62 = window(8, 279);
    for (int code : {16, 127, 128, 200, 255}) EXPECT_EQ(window(code, 279), harris62) << "code " << code;
    for (int code : kCodes) {
        EXPECT_EQ(window(code, 279, true), window(code, 279)) << "code " << code;
        if (code == 10) continue;
        EXPECT_EQ(window(code, 279, false, true), window(code, 279)) << "code " << code;
    }
}

TEST_F(PlainWindows, PeaksAndSymmetry) {
    const std::vector<float> like = window(10, 1025);
    EXPECT_EQ(std::max_element(like.begin(), like.end()) - like.begin(), 512);
    for (std::size_t i = 0; i <= 512; ++i) ASSERT_NEAR(like[i], like[1024 - i], 1e-9) << i;
    const std::vector<float> asymmetric = window(15, 1025);
    EXPECT_NEAR(std::max_element(asymmetric.begin(), asymmetric.end()) - asymmetric.begin(), 0.7 * 1024, 5.0);
}

TEST_F(PlainWindows, NoSamplesWriteNothing) {
    const std::vector<std::function<void(long, float*)>> generators = {
        MRSpectrum::Hamming, MRSpectrum::BlackmanHarris62, MRSpectrum::BlackmanHarris70, MRSpectrum::BlackmanHarris92,
        MRSpectrum::AsymmetricBlackmanHarrisLike, MRSpectrum::Triangular, MRSpectrum::Rectangular,
        [](long n, float* w) { MRSpectrum::BlackmanHarris74(n, w, false); },
        [](long n, float* w) { MRSpectrum::BlackmanHarrisLike(n, w, false); },
        [](long n, float* w) { MRSpectrum::BlackmanHarrisLike(n, w, true); },
        [](long n, float* w) { MRSpectrum::KaiserBessel(n, w, 2.0); }};
    for (long n : {0L, -1L, -1000L}) {
        float value = 77.0f;
        float* out = &value;
        for (const auto& generator : generators) generator(n, out);
        for (int code : kCodes) EXPECT_EQ(m_spectrum.GetWindow(n, static_cast<char>(code), &out, false, false), 0);
        EXPECT_EQ(value, 77.0f) << n;
    }
}

TEST_F(PlainWindows, BesselFunction) {
    EXPECT_EQ(MRSpectrum::BesselFunction(0.0), 1.0);
    // 50 terms are all of it here ...
    for (double x : {1e-3, 0.5, 1.0, 5.34, 10.0, 11.0})
        EXPECT_NEAR(MRSpectrum::BesselFunction(x) / std::cyl_bessel_i(0.0, x), 1.0, 1e-12) << x;
    EXPECT_EQ(MRSpectrum::BesselFunction(-3.0), MRSpectrum::BesselFunction(3.0));
    // ... and only a part here, where one term more or less is 8 percent.
    EXPECT_NEAR(MRSpectrum::BesselFunction(100.0) / besselSeries(100.0), 1.0, 1e-12);
}

}  // namespace
}  // namespace KaTessel::tests
