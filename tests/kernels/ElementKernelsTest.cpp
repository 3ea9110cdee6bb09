// Kernels that treat every element by itself.
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;

const float kInf = std::numeric_limits<float>::infinity();

constexpr int kLongest = 150;  // more than the widest vectors side by side, and every rest

// Sums and products of two floats round once, so these must be exact.
TEST(Kernels, SumsProductsAndMagnitudes) {
    Random random(11);
    for (int n = 0; n <= kLongest; ++n) {
        const std::vector<float> a = random.values(n, -3.0f, 3.0f), b = random.values(n, -3.0f, 3.0f);
        const std::vector<float> pairs = random.values(2 * n);
        const FencedInput fa(a), fb(b), fpairs(pairs);
        const float factor = 0.70710677f;

        GuardedBuffer accumulated(a), scaled(a, 2), product(n, 3), sum(n), overA(a), overB(b), rectified(a), sizes(n);
        active->accumulate(accumulated.data(), fb.data(), n);
        active->scale(scaled.data(), factor, n);
        active->multiply(product.data(), fa.data(), fb.data(), n);
        active->scaledSum(sum.data(), fa.data(), fb.data(), factor, n);
        active->scaledSum(overA.data(), overA.data(), fb.data(), factor, n);
        active->scaledSum(overB.data(), fa.data(), overB.data(), factor, n);
        active->leakyRelu(rectified.data(), 0.2f, n);
        active->magnitude(sizes.data(), fpairs.data(), n);
        for (int i = 0; i < n; ++i) {
            SCOPED_TRACE(testing::Message() << i << " of " << n);
            ASSERT_EQ(accumulated[i], fa[i] + fb[i]);
            ASSERT_EQ(scaled[i], fa[i] * factor);
            ASSERT_EQ(product[i], fa[i] * fb[i]);
            ASSERT_EQ(sum[i], (fa[i] + fb[i]) * factor);
            ASSERT_EQ(overA[i], sum[i]);
            ASSERT_EQ(overB[i], sum[i]);
            ASSERT_EQ(rectified[i], fa[i] < 0.0f ? fa[i] * 0.2f : fa[i]);
            const double size = std::hypot(fpairs[2 * i], fpairs[2 * i + 1]);
            // Two roundings under the root and one of the root itself.
            ASSERT_NEAR(sizes[i], size, 3 * std::ldexp(1.0, -24) * size);
        }
        for (const GuardedBuffer* out : {&accumulated, &scaled, &product, &sum, &overA, &overB, &rectified, &sizes})
            ASSERT_TRUE(out->intact()) << n;
    }
}

// `kernel` against a function of one value, over all lengths and over a whole sweep.
void check(const char* name, const std::vector<float>& sweep, const std::function<void(float*, int)>& kernel,
           const std::function<double(double)>& exact, const std::function<double(double)>& tolerance) {
    std::size_t next = 0;
    for (int length = 0; length <= kLongest + 1; ++length) {
        const int n = length <= kLongest ? length : static_cast<int>(sweep.size());
        std::vector<float> x;
        for (int i = 0; i < n; ++i) x.push_back(sweep[next++ % sweep.size()]);
        const FencedInput before(x);
        GuardedBuffer values(x, n % 5);
        kernel(values.data(), n);
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(values[i], exact(before[i]), tolerance(exact(before[i])))
                << name << " of " << before[i] << ", n = " << n;
        ASSERT_TRUE(values.intact()) << name << " over " << n;
    }
}

// Three units of the last place: one each for the fitted polynomial, the division and the rounding in between.
double fewUnits(double exact) { return 3 * std::ldexp(1.0, -23) * std::abs(exact) + 1e-44; }

TEST(Kernels, SigmoidAndItsCutOff) {
    std::vector<float> sweep;
    for (int i = -4300; i <= 11000; ++i) sweep.push_back(static_cast<float>(i) * 0.01f);
    const float below = std::nextafter(-40.0f, -50.0f);
    for (float x : {-0.0f, 1e-30f, -40.0f, below, -88.0f, -1e30f, -kInf, 88.7f, 1e30f, kInf}) sweep.push_back(x);
    check(
        "sigmoid", sweep, [](float* x, int n) { active->sigmoid(x, n); },
        [](double x) { return x < -40.0 ? 0.0 : 1.0 / (1.0 + std::exp(-x)); },
        [](double y) { return y == 0.0 ? 0.0 : fewUnits(y); });
}

TEST(Kernels, TanhAndItsSaturation) {
    std::vector<float> sweep;
    for (int i = -1200; i <= 1200; ++i) sweep.push_back(static_cast<float>(i) * 0.01f);
    for (float x = 1e-38f; x < 1.0f; x *= 7.3f) {
        sweep.push_back(x);
        sweep.push_back(-x);
    }
    for (float x : {0.0f, 0.624999f, 0.625f, -0.625f, 50.0f, -50.0f, 1e30f, -1e30f, kInf, -kInf}) sweep.push_back(x);
    check(
        "tanh", sweep, [](float* x, int n) { active->tanh(x, n); }, [](double x) { return std::tanh(x); }, fewUnits);

    // A network's output must stay within -1 .. 1 whatever goes in.
    GuardedBuffer large(std::vector<float>{9.5f, 20.0f, 90.0f, 1e30f, kInf, -9.5f, -20.0f, -90.0f, -1e30f, -kInf});
    active->tanh(large.data(), large.size());
    for (int i = 0; i < large.size(); ++i) EXPECT_EQ(large[i], i < 5 ? 1.0f : -1.0f) << i;
}

TEST(Kernels, GatedIsTanhTimesSigmoid) {
    std::vector<float> sweep;
    for (int i = -1200; i <= 1200; ++i) sweep.push_back(static_cast<float>(i) * 0.0101f);
    for (float x : {0.0f, 1e-20f, -1e-20f, 0.624999f, 0.625f, -0.625f, 50.0f, -50.0f, kInf, -kInf}) sweep.push_back(x);
    for (float opening : {-kInf, -41.0f, -40.0f, -17.5f, -1.0f, 0.0f, 0.7f, 12.0f, 89.0f, kInf})
        check(
            "gated", sweep,
            [&](float* x, int n) {
                // Every gate is another one, so that none can stand for its neighbour.
                std::vector<float> filters(x, x + n), gates;
                for (int i = 0; i < n; ++i) gates.push_back(i % 2 == 0 ? opening : 0.25f);
                const FencedInput filter(filters), gate(gates);
                active->gated(x, filter.data(), gate.data(), n);
                for (int i = 1; i < n; i += 2) {
                    const double exact =
                        std::tanh(double{filters[static_cast<std::size_t>(i)]}) / (1 + std::exp(-0.25));
                    ASSERT_NEAR(x[i], exact, 2 * fewUnits(exact));
                    x[i] = static_cast<float>(std::tanh(double{filters[static_cast<std::size_t>(i)]}) *
                                              (opening < -40.0f ? 0.0 : 1.0 / (1.0 + std::exp(-double{opening}))));
                }
            },
            [&](double x) {
                return std::tanh(x) * (opening < -40.0f ? 0.0 : 1.0 / (1.0 + std::exp(-double{opening})));
            },
            [](double y) { return 2 * fewUnits(y); });  // of both functions
}

TEST(Kernels, DecibelsAndTheirFloor) {
    struct Row {
        float floor, factor, offset;
    };
    std::vector<float> sweep;
    for (double x = 1.2e-38; x < 3e38; x *= 1.0193) sweep.push_back(static_cast<float>(x));
    for (int i = -200; i <= 200; ++i) sweep.push_back(1.0f + static_cast<float>(i) * 0.002f);
    for (float x : {0.0f, -0.0f, -1.0f, 1e-40f, 1e-10f, std::nextafter(1e-10f, 0.0f), std::nextafter(1e-10f, 1.0f),
                    0.70710677f, 0.70710683f, 1.4142135f, std::numeric_limits<float>::max()})
        sweep.push_back(x);
    for (const Row& row : {Row{1e-10f, 1.0f / 70.0f, 1.0f}, Row{1e-5f, 1.0f, 0.0f}, Row{1.1754944e-38f, 1.0f, -3.0f}})
        check(
            "decibels", sweep,
            [&](float* x, int n) { active->scaledDecibels(x, row.floor, row.factor, row.offset, n); },
            [&](double x) {
                return 20.0 * std::log10(std::max(x, static_cast<double>(row.floor))) * row.factor + row.offset;
            },
            // The offset may cancel the level, and near 0 dB the two parts of the logarithm cancel each other.
            [&](double y) { return fewUnits(std::abs(y) + std::abs(row.offset)) + row.factor * 4e-7; });
}

}  // namespace
}  // namespace KaTessel::tests
