// Kernels that treat several signals side by side: value i of signal s lies at [i * lanes + s].
//
// Every signal has its own random values, so that neither a lane nor a bin can stand for another.
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;

// n values per signal from a 64-byte boundary on.
class Lanes {
public:
    Lanes(int n, const std::vector<float>& values) : m_n(n), m_buffer(n * active->lanes + 16, 0) {
        const auto address = reinterpret_cast<std::uintptr_t>(m_buffer.data());
        m_first = m_buffer.data() + (64 - address % 64) % 64 / sizeof(float);
        for (float* p = m_buffer.data(); p < m_buffer.data() + m_buffer.size(); ++p) *p = kUntouched;
        for (std::size_t i = 0; i < values.size(); ++i) m_first[i] = values[i];
    }
    Lanes(int n, Random& random) : Lanes(n, random.values(n * active->lanes)) {}
    Lanes(const Lanes&) = delete;
    Lanes& operator=(const Lanes&) = delete;

    float* data() { return m_first; }
    double at(int i, int signal) const { return m_first[i * active->lanes + signal]; }

    bool intact() {
        float* end = m_first + m_n * active->lanes;
        for (float* p = m_buffer.data(); p < m_buffer.data() + m_buffer.size(); ++p)
            if ((p < m_first || p >= end) && *p != kUntouched) return false;
        return m_buffer.intact();
    }

private:
    static constexpr float kUntouched = 12345.678f;
    int m_n;
    GuardedBuffer m_buffer;
    float* m_first;
};

TEST(LaneKernels, TransformIsTheSumOverAllSamples) {
    Random random(81);
    for (int n : {16, 32, 64, 128, 256, 512, 1024, 2048}) {
        const std::vector<float> before = random.values(n * active->lanes);
        Lanes a(n, before);
        active->transformLanes(a.data(), n);
        // Sums of n values up to 1 in log2(n) stages; what single precision loses is far below this.
        const double tolerance = 2e-6 * std::sqrt(n);
        for (int signal = 0; signal < active->lanes; ++signal)
            for (int k = 0; k <= n / 2; ++k) {
                double re = 0.0, im = 0.0;
                for (int j = 0; j < n; ++j) {
                    const double angle = -2.0 * std::numbers::pi * (static_cast<long>(j) * k % n) / n;
                    const double x = before[static_cast<std::size_t>(j * active->lanes + signal)];
                    re += x * std::cos(angle);
                    im += x * std::sin(angle);
                }
                const bool end = k == 0 || k == n / 2;
                ASSERT_NEAR(a.at(k == 0 ? 0 : end ? 1 : 2 * k, signal), re, tolerance) << n << ", bin " << k;
                if (end) continue;
                ASSERT_NEAR(a.at(2 * k + 1, signal), im, tolerance) << n << ", bin " << k;
            }
        ASSERT_TRUE(a.intact());
    }
}

TEST(LaneKernels, SumsAndMagnitudesOfEveryLength) {
    Random random(82);
    for (int n = 0; n <= 70; ++n) {
        const int count = 1 + n % 9;
        Lanes x(2 * n, random), spectrum(2 * (count + n), random), size(n, std::vector<float>()),
            sum(1, std::vector<float>()), convolved(2 * n, std::vector<float>());
        const std::vector<float> weights = random.values(2 * n);
        std::vector<float> taps;  // each twice, once for either half of a complex value
        for (int t = 0; t < count; ++t) taps.insert(taps.end(), 2, random.uniform(-1.0f, 1.0f));
        const FencedInput fweights(weights), ftaps(taps);
        active->magnitudeLanes(size.data(), x.data(), n);
        active->weightedLanes(sum.data(), x.data(), fweights.data(), 2 * n);
        active->convolveLanes(convolved.data(), spectrum.data(), ftaps.data(), count, n);
        // Sums of up to 140 products below 1; the bound allows each a rounding of the sum so far.
        for (int signal = 0; signal < active->lanes; ++signal) {
            double expected = 0.0;
            for (int k = 0; k < 2 * n; ++k) expected += weights[static_cast<std::size_t>(k)] * x.at(k, signal);
            ASSERT_NEAR(sum.at(0, signal), expected, 1e-5) << n;
            for (int k = 0; k < n; ++k) {
                const double magnitude = std::hypot(x.at(2 * k, signal), x.at(2 * k + 1, signal));
                ASSERT_NEAR(size.at(k, signal), magnitude, 2e-7 * magnitude) << n << ", pair " << k;
                for (int half = 0; half < 2; ++half) {
                    double value = 0.0;
                    for (int t = 0; t < count; ++t)
                        value += taps[static_cast<std::size_t>(2 * t)] * spectrum.at(2 * (k + t) + half, signal);
                    ASSERT_NEAR(convolved.at(2 * k + half, signal), value, 2e-6) << n << " bins, bin " << k;
                }
            }
        }
        ASSERT_TRUE(size.intact() && sum.intact() && convolved.intact()) << n;
    }
}

}  // namespace
}  // namespace KaTessel::tests
