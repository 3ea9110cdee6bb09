// Kernels that treat several signals side by side: value i of signal s lies at [i * lanes + s].
//
// Every signal has its own random values, so that neither a lane nor a bin can stand for another.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "dsp/ReferenceTransform.h"
#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;

// n random values per signal from a 64-byte boundary on.
class Lanes {
public:
    Lanes(int n, Random& random) : m_buffer(n * active->lanes + kSlack, 0, kUntouched) {
        const auto address = reinterpret_cast<std::uintptr_t>(m_buffer.data());
        m_first = m_buffer.data() + (64 - address % 64) % 64 / sizeof(float);
        for (int i = 0; i < n * active->lanes; ++i) m_first[i] = random.uniform(-1.0f, 1.0f);
    }
    Lanes(const Lanes&) = delete;
    Lanes& operator=(const Lanes&) = delete;

    float* data() { return m_first; }
    float at(int i, int signal) const { return m_first[i * active->lanes + signal]; }

    std::vector<float> signal(int number, int n) const {
        std::vector<float> values;
        for (int i = 0; i < n; ++i) values.push_back(at(i, number));
        return values;
    }

    bool intact() {
        float* end = m_buffer.data() + m_buffer.size();
        return std::count(m_buffer.data(), end, kUntouched) == kSlack && m_buffer.intact();
    }

private:
    static constexpr int kSlack = 16;
    static constexpr float kUntouched = 12345.678f;
    GuardedBuffer m_buffer;
    float* m_first;
};

TEST(LaneKernels, TransformIsTheSumOverAllSamples) {
    Random random(81);
    for (int n = 2; n <= 2048; n *= 2) {
        Lanes a(n, random);
        std::vector<Points> expected;
        for (int signal = 0; signal < active->lanes; ++signal) {
            expected.push_back(definedTransform(realPoints(a.signal(signal, n)), -1));
            expected.back().resize(static_cast<std::size_t>(n / 2 + 1));
        }
        active->transformLanes(a.data(), n);
        for (int signal = 0; signal < active->lanes; ++signal)
            EXPECT_LT(relativeError(unpackedSpectrum(a.signal(signal, n).data(), n),
                                    expected[static_cast<std::size_t>(signal)]),
                      2e-6)
                << n << ", signal " << signal;
        EXPECT_TRUE(a.intact());
    }
}

TEST(LaneKernels, PlacesSamplesOfEverySignal) {
    Random random(83);
    for (int count : {0, 16, 48})
        for (int stride : {0, 7, 120}) {
            const int last = (active->lanes - 1) * stride;
            const std::vector<float> samples = random.values(last + count);
            const FencedInput input(samples);
            Lanes placed(count, random);
            active->placeLanes(placed.data(), input.data(), stride, 0.3f, count);
            for (int i = 0; i < count; ++i)
                for (int signal = 0; signal < active->lanes; ++signal)
                    ASSERT_EQ(placed.at(i, signal), samples[static_cast<std::size_t>(signal * stride + i)] * 0.3f)
                        << i << ", signal " << signal;
            EXPECT_TRUE(placed.intact());
        }
}

TEST(LaneKernels, SumsAndMagnitudesOfEveryLength) {
    Random random(82);
    for (int n = 0; n <= 70; ++n) {
        const int count = 1 + n % 9;
        Lanes x(2 * n, random), spectrum(2 * (count + n), random), size(n, random), sum(1, random),
            convolved(2 * n, random);
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
            for (int k = 0; k < 2 * n; ++k) expected += double{fweights[k]} * x.at(k, signal);
            ASSERT_NEAR(sum.at(0, signal), expected, 1e-5) << n;
            for (int k = 0; k < n; ++k) {
                const double magnitude = std::hypot(double{x.at(2 * k, signal)}, double{x.at(2 * k + 1, signal)});
                ASSERT_NEAR(size.at(k, signal), magnitude, 2e-7 * magnitude) << n << ", pair " << k;
                for (int half = 0; half < 2; ++half) {
                    double value = 0.0;
                    for (int t = 0; t < count; ++t)
                        value += double{ftaps[2 * t]} * spectrum.at(2 * (k + t) + half, signal);
                    ASSERT_NEAR(convolved.at(2 * k + half, signal), value, 2e-6) << n << " bins, bin " << k;
                }
            }
        }
        ASSERT_TRUE(size.intact() && sum.intact() && convolved.intact()) << n;
    }
}

}  // namespace
}  // namespace KaTessel::tests
