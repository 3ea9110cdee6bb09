// Value encodings: worked examples, and their definitions in double precision.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/ValueEncodings.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

using Values = std::vector<float>;

void expectNear(const Values& actual, const std::vector<double>& expected, double tolerance, const std::string& where) {
    ASSERT_EQ(actual.size(), expected.size()) << where;
    for (std::size_t k = 0; k < actual.size(); ++k)
        EXPECT_NEAR(actual[k], expected[k], tolerance) << where << ", level " << k;
}

TEST(PlainValueEncodings, Triangles) {
    struct Row {
        float x;
        int n;
        float lo, hi;
        std::vector<double> linear, coarse;
    };
    const Row rows[] = {
        {2.5f, 5, 0, 4, {0, 0, 0.5, 0.5, 0}, {0, 0.25, 0.75, 0.75, 0.25}},
        {2.0f, 5, 0, 4, {0, 0, 1, 0, 0}, {0, 0.5, 1, 0.5, 0}},
        {0.0f, 5, 0, 4, {1, 0, 0, 0, 0}, {1, 0.5, 0, 0, 0}},
        {9.0f, 5, 0, 4, {0, 0, 0, 0, 1}, {0, 0, 0, 0.5, 1}},
        {-9.0f, 5, 0, 4, {1, 0, 0, 0, 0}, {1, 0.5, 0, 0, 0}},
        {-1.5f, 3, -2, 2, {0.75, 0.25, 0}, {0.875, 0.625, 0.125}},
        {15.0f, 2, 10, 30, {0.75, 0.25}, {0.875, 0.625}},
        {0.125f, 4, 0, 0.75f, {0.5, 0.5, 0, 0}, {0.75, 0.75, 0.25, 0}},
        {1.0f, 1, 0, 4, {}, {}},
        {1.0f, 0, 0, 4, {}, {}},
        {1.0f, -3, 0, 4, {}, {}},
        {1.0f, 5, 3, 3, {}, {}},
    };
    for (const Row& row : rows) {
        const std::string where = std::to_string(row.x) + " on " + std::to_string(row.n) + " levels of " +
                                  std::to_string(row.lo) + " .. " + std::to_string(row.hi);
        const Values linear = linear_encoding(row.x, row.n, row.lo, row.hi);
        const Values coarse = coarse_encoding(row.x, row.n, row.lo, row.hi);
        // Positions of a few levels, to the rounding of 1/3.
        expectNear(linear, row.linear, 1e-6, where + ", linear");
        expectNear(coarse, row.coarse, 1e-6, where + ", coarse");

        // The other forms hold one such encoding per entry, in order; of a frame the first value counts.
        const Values other = linear_encoding(row.lo, row.n, row.lo, row.hi);
        const Values otherCoarse = coarse_encoding(row.lo, row.n, row.lo, row.hi);
        const Values sequence = {row.x, row.lo, row.x};
        const std::vector<Values> frames = {{row.x, 3.0f}, {row.lo}, {row.x, row.lo, 0.0f}, {}};
        EXPECT_EQ(linear_encoding(sequence, row.n, row.lo, row.hi), (std::vector<Values>{linear, other, linear}));
        EXPECT_EQ(coarse_encoding(sequence, row.n, row.lo, row.hi),
                  (std::vector<Values>{coarse, otherCoarse, coarse}));
        EXPECT_EQ(linear_encoding(frames, row.n, row.lo, row.hi), (std::vector<Values>{linear, other, linear, {}}));
        EXPECT_EQ(coarse_encoding(frames, row.n, row.lo, row.hi),
                  (std::vector<Values>{coarse, otherCoarse, coarse, {}}));
    }
    EXPECT_TRUE(linear_encoding(Values(), 5, 0, 4).empty());
    EXPECT_TRUE(coarse_encoding(Values(), 5, 0, 4).empty());
    EXPECT_TRUE(linear_encoding(std::vector<Values>(), 5, 0, 4).empty());
    EXPECT_TRUE(coarse_encoding(std::vector<Values>(), 5, 0, 4).empty());
}

TEST(PlainValueEncodings, Circle) {
    struct Row {
        float x;
        int n;
        float lo, hi, sharpness;
        int largest;  // level of the largest value; -1: not compared
    };
    const Row rows[] = {
        {0.0f, 4, 0, 4, 0.3f, 0},   {4.0f, 4, 0, 4, 0.3f, 0},    {9.0f, 4, 0, 4, 0.3f, 0},
        {-9.0f, 4, 0, 4, 0.3f, 0},  {3.6f, 4, 0, 4, 0.7f, 0},    {3.4f, 4, 0, 4, 0.7f, 3},
        {1.0f, 12, -1, 1, 0.3f, 0}, {0.3f, 12, -1, 1, 0.3f, 8},  {370.0f, 36, 20, 380, 2.0f, 35},
        {0.2f, 2, 0, 1, 0.5f, 0},   {4.0f, 4, 0, 4, 0.05f, -1},  {-0.5f, 5, -2, 0, 0.0f, -1},
    };
    for (const Row& row : rows) {
        const std::string where = std::to_string(row.x) + " on " + std::to_string(row.n) + " levels";
        const double turn = std::clamp((static_cast<double>(row.x) - row.lo) / (row.hi - row.lo), 0.0, 1.0);
        std::vector<double> expected;
        for (int k = 0; k < row.n; ++k) {
            double sum = 0.0;
            for (int lap = -1; lap <= 1; ++lap)
                sum += std::exp(-row.sharpness * std::pow(row.n * turn - k + lap * row.n, 2));
            expected.push_back(sum);
        }
        const Values actual = circular_encoding(row.x, row.n, row.lo, row.hi, row.sharpness);
        // Up to 36 levels away: a position is good to a few 1e-6 levels.
        expectNear(actual, expected, 1e-5, where);
        if (row.largest >= 0) {
            EXPECT_EQ(std::max_element(actual.begin(), actual.end()) - actual.begin(), row.largest) << where;
        }
    }
    // The ends of the circle differ only in what a second lap would add.
    const double lap = std::exp(-0.05 * 16), twoLaps = std::exp(-0.05 * 64);
    EXPECT_NEAR(circular_encoding(0, 4, 0, 4, 0.05f)[0], 1 + 2 * lap, 1e-6);
    EXPECT_NEAR(circular_encoding(4, 4, 0, 4, 0.05f)[0], 1 + lap + twoLaps, 1e-6);
    for (int n : {1, 0, -2}) EXPECT_TRUE(circular_encoding(1, n, 0, 4, 1).empty()) << n;
    EXPECT_TRUE(circular_encoding(3, 4, 3, 3, 1).empty());
}

}  // namespace
}  // namespace KaTessel::tests
