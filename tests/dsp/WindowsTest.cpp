// Every family of windows against its formula, and what holds for all of them.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "dsp/WindowReference.h"
#include "katessel/MRSpectrum.h"
#include "support/GuardedBuffer.h"

namespace KaTessel::tests {
namespace {

class PlainWindows : public testing::Test {
protected:
    std::vector<float> window(int code, int n, bool derivative = false) {
        GuardedBuffer w(n, 1, 77.0f);
        float* out = w.data();
        EXPECT_EQ(m_spectrum.GetWindow(n, static_cast<char>(code), &out, false, derivative), 0);
        EXPECT_EQ(out, w.data()) << "the caller's pointer stays";
        EXPECT_TRUE(w.intact()) << "code " << code << ", n = " << n;
        return std::vector<float>(w.data(), w.data() + n);
    }

    MRSpectrum m_spectrum;
};

TEST_F(PlainWindows, FollowTheirFormulas) {
    for (int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 255}) {
        EXPECT_TRUE(window(code, 0).empty()) << "no samples, nothing written";
        for (int n : {3, 4, 5, 278, 279, 1025, 4097}) {
            const std::vector<float> w = window(code, n);
            const std::vector<double> expected = referenceWindow(code, n);
            // Two roundings a sample; some families also add up their sum as a float, which drifts with the length.
            const double peak = *std::max_element(expected.begin(), expected.end());
            const double tolerance = peak * (2.5e-7 + 1e-9 * n);
            for (int i = 0; i < n; ++i)
                ASSERT_NEAR(w[static_cast<std::size_t>(i)], expected[static_cast<std::size_t>(i)], tolerance)
                    << "code " << code << ", n = " << n << ", sample " << i;
        }
    }
}

// The first sample is a stored constant; those of the families that nearly vanish there differ from their formulas.
TEST_F(PlainWindows, FirstSamples) {
    struct Row {
        int code;
        double first;
    };
    for (const Row& row : {Row{0, 0.079999998},
                           {8, 0.012719993},
                           {9, 0.0048999786},
                           {10, -4.6837534e-17},
                           {11, 0.0021800152},
                           {12, 5.9968792e-05}}) {
        const int n = 279;
        double total = row.first;
        for (int i = 1; i < n; ++i) total += windowSample(row.code, i, n);
        const double expected = row.first * 2.0 / total;
        EXPECT_NEAR(window(row.code, n)[0], expected, std::abs(expected) * 6e-7) << "code " << row.code;
        EXPECT_EQ(window(row.code, 1)[0], 2.0f) << "code " << row.code;
    }
    EXPECT_EQ(window(15, 279).front(), 0.0f);
    EXPECT_EQ(window(15, 279).back(), 0.0f);
}

TEST_F(PlainWindows, DerivativeOfBlackmanHarrisLike) {
    const double like[4] = {0.47, 0.45, -0.01, 0.01};
    for (int n : {4, 279}) {
        const std::vector<float> d = window(10, n, true);
        double total = 0.0;
        for (int i = 0; i < n; ++i) total += windowSample(10, i, n);
        EXPECT_TRUE(d[0] == 0.0f && std::signbit(d[0]));
        // Scaled by the sum of the window itself. Central differences are good to 1e-7 of the steepest slope.
        const double step = kFloatTwoPi / (n - 1), h = 1e-4;
        for (int i = 1; i < n; ++i) {
            const double slope = (cosineSum(like, i * step + h) - cosineSum(like, i * step - h)) / (2.0 * h) * step;
            ASSERT_NEAR(d[static_cast<std::size_t>(i)], -slope * 2.0 / total, 1.5e-6 * step * 2.0 / total)
                << "n = " << n << ", sample " << i;
        }
    }
    EXPECT_EQ(window(11, 279, true), window(11, 279)) << "of no other family";
}

// All fifty terms are needed here: one more or less is 8 percent.
TEST_F(PlainWindows, BesselFunction) {
    EXPECT_NEAR(MRSpectrum::BesselFunction(100.0) / besselSeries(100.0), 1.0, 1e-12);
}

}  // namespace
}  // namespace KaTessel::tests
