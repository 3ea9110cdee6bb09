// Kernels that treat every element by itself.
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "kernels/Kernels.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using kernels::active;

const float kInf = std::numeric_limits<float>::infinity();

std::vector<int> lengths() {
    std::vector<int> all;
    for (int n = 0; n <= 70; ++n) all.push_back(n);
    for (int n : {150, 513, 1031}) all.push_back(n);
    return all;
}

// Additions and products of two floats round once, so these must be exact.
TEST(Kernels, SumsAndProductsAreExact) {
    Random random(11);
    for (int n : lengths()) {
        const std::vector<float> a = random.values(n, -3.0f, 3.0f), b = random.values(n, -3.0f, 3.0f);
        const FencedInput fa(a), fb(b);
        const float factor = 0.70710677f;

        GuardedBuffer accumulated(a), scaled(a, 2), product(n, 3), sum(n), overA(a), overB(b), rectified(a);
        active->accumulate(accumulated.data(), fb.data(), n);
        active->scale(scaled.data(), factor, n);
        active->multiply(product.data(), fa.data(), fb.data(), n);
        active->scaledSum(sum.data(), fa.data(), fb.data(), factor, n);
        active->scaledSum(overA.data(), overA.data(), fb.data(), factor, n);
        active->scaledSum(overB.data(), fa.data(), overB.data(), factor, n);
        active->leakyRelu(rectified.data(), 0.2f, n);
        for (int i = 0; i < n; ++i) {
            ASSERT_EQ(accumulated[i], a[i] + b[i]) << i << " of " << n;
            ASSERT_EQ(scaled[i], a[i] * factor) << i << " of " << n;
            ASSERT_EQ(product[i], a[i] * b[i]) << i << " of " << n;
            ASSERT_EQ(sum[i], (a[i] + b[i]) * factor) << i << " of " << n;
            ASSERT_EQ(overA[i], sum[i]) << i << " of " << n;
            ASSERT_EQ(overB[i], sum[i]) << i << " of " << n;
            ASSERT_EQ(rectified[i], a[i] < 0.0f ? a[i] * 0.2f : a[i]) << i << " of " << n;
        }
        for (const GuardedBuffer* out : {&accumulated, &scaled, &product, &sum, &overA, &overB, &rectified})
            ASSERT_TRUE(out->intact()) << n;
    }
}

// A function of one value: `kernel` over all lengths, and over a sweep with special values among it.
struct Function {
    std::function<void(float*, int)> kernel;
    std::function<double(double)> exact;
    std::function<double(double)> tolerance;  // of the exact result
};

void check(const Function& f, const std::vector<float>& sweep, const char* name) {
    std::size_t next = 0;
    for (int n : lengths()) {
        std::vector<float> x;
        for (int i = 0; i < n; ++i) x.push_back(sweep[next++ % sweep.size()]);
        GuardedBuffer values(x, n % 5);
        f.kernel(values.data(), n);
        for (int i = 0; i < n; ++i) {
            const double expected = f.exact(x[i]);
            ASSERT_NEAR(values[i], expected, f.tolerance(expected)) << name << " of " << x[i] << ", " << i << " of " << n;
        }
        ASSERT_TRUE(values.intact()) << name << " over " << n;
    }
    GuardedBuffer all(sweep);
    f.kernel(all.data(), all.size());
    for (int i = 0; i < all.size(); ++i) {
        const double expected = f.exact(sweep[i]);
        ASSERT_NEAR(all[i], expected, f.tolerance(expected)) << name << " of " << sweep[i];
    }
}

// Three units of the last place: one each for the fitted polynomial, the division and the rounding in between.
double fewUnits(double exact) { return 3 * std::ldexp(1.0, -23) * std::abs(exact) + 1e-44; }

TEST(Kernels, SigmoidAndItsCutOff) {
    std::vector<float> sweep;
    for (int i = -4300; i <= 11000; ++i) sweep.push_back(static_cast<float>(i) * 0.01f);
    const float below = std::nextafter(-40.0f, -50.0f);
    for (float x : {-0.0f, 1e-30f, -1e-30f, 1e-4f, -1e-4f, -40.0f, below, -88.0f, -200.0f, -1e30f, -kInf, 88.7f, 1e30f, kInf})
        sweep.push_back(x);
    check({[](float* x, int n) { active->sigmoid(x, n); },
           [](double x) { return x < -40.0 ? 0.0 : 1.0 / (1.0 + std::exp(-x)); },
           [](double y) { return y == 0.0 ? 0.0 : fewUnits(y); }},
          sweep, "sigmoid");
}

TEST(Kernels, TanhAndItsSaturation) {
    std::vector<float> sweep;
    for (int i = -1200; i <= 1200; ++i) sweep.push_back(static_cast<float>(i) * 0.01f);
    for (float x = 1e-38f; x < 1.0f; x *= 7.3f) {
        sweep.push_back(x);
        sweep.push_back(-x);
    }
    for (float x : {0.0f, 0.624999f, 0.625f, -0.625f, 50.0f, -50.0f, 1e30f, -1e30f, kInf, -kInf}) sweep.push_back(x);
    check({[](float* x, int n) { active->tanh(x, n); }, [](double x) { return std::tanh(x); }, fewUnits}, sweep,
          "tanh");

    // A network's output must stay within -1 .. 1 whatever goes in.
    GuardedBuffer large(std::vector<float>{9.5f, 20.0f, 90.0f, 1e30f, kInf, -9.5f, -20.0f, -90.0f, -1e30f, -kInf});
    active->tanh(large.data(), large.size());
    for (int i = 0; i < large.size(); ++i) EXPECT_EQ(large[i], i < 5 ? 1.0f : -1.0f) << i;
}

TEST(Kernels, LeakyRectifierKeepsZeroAndPositiveValues) {
    GuardedBuffer x(std::vector<float>{0.0f, -0.0f, 3.5f, -3.5f, kInf, -1e-20f, 1e-20f});
    active->leakyRelu(x.data(), 0.0f, x.size());
    const float expected[] = {0.0f, 0.0f, 3.5f, 0.0f, kInf, 0.0f, 1e-20f};
    for (int i = 0; i < x.size(); ++i) EXPECT_EQ(x[i], expected[i]) << i;
}

TEST(Kernels, MagnitudeOfEveryLength) {
    Random random(12);
    for (int n : lengths()) {
        std::vector<float> pairs = random.values(2 * n, -2.0f, 2.0f);
        if (n > 2) pairs[2] = pairs[3] = pairs[4] = 0.0f;
        const FencedInput in(pairs);
        GuardedBuffer out(n);
        active->magnitude(out.data(), in.data(), n);
        for (int i = 0; i < n; ++i) {
            const double expected = std::hypot(pairs[2 * i], pairs[2 * i + 1]);
            // Two roundings under the root and one of the root itself.
            ASSERT_NEAR(out[i], expected, 3 * std::ldexp(1.0, -24) * expected) << i << " of " << n;
        }
        ASSERT_TRUE(out.intact());
    }
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
        check({[&](float* x, int n) { active->scaledDecibels(x, row.floor, row.factor, row.offset, n); },
               [&](double x) {
                   return 20.0 * std::log10(std::max(x, static_cast<double>(row.floor))) * row.factor + row.offset;
               },
               // The offset may cancel the level, and near 0 dB the two parts of the logarithm cancel each other.
               [&](double y) { return fewUnits(std::abs(y) + std::abs(row.offset)) + row.factor * 4e-7; }},
              sweep, "decibels");
}

}  // namespace
}  // namespace KaTessel::tests
