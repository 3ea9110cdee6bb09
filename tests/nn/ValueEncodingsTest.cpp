// Value encodings: worked examples, and their definitions in double precision.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/ValueEncodings.h"
#include "nn/Networks.h"

namespace KaTessel::tests {
namespace {

using Values = std::vector<float>;

TEST(PlainValueEncodings, Triangles) {
    struct Row {
        float x;
        int n;
        float lo, hi;
        Frame linear, coarse;
    };
    const Row rows[] = {
        {2.5f, 5, 0, 4, {0, 0, 0.5, 0.5, 0}, {0, 0.25, 0.75, 0.75, 0.25}},
        {2.0f, 5, 0, 4, {0, 0, 1, 0, 0}, {0, 0.5, 1, 0.5, 0}},
        {9.0f, 5, 0, 4, {0, 0, 0, 0, 1}, {0, 0, 0, 0.5, 1}},
        {-9.0f, 5, 0, 4, {1, 0, 0, 0, 0}, {1, 0.5, 0, 0, 0}},
        {-1.5f, 3, -2, 2, {0.75, 0.25, 0}, {0.875, 0.625, 0.125}},
        {15.0f, 2, 10, 30, {0.75, 0.25}, {0.875, 0.625}},
        {1.0f, 1, 0, 4, {}, {}},
        {1.0f, -3, 0, 4, {}, {}},
        {1.0f, 5, 3, 3, {}, {}},
    };
    for (const Row& row : rows) {
        const std::string where = std::to_string(row.x) + " on " + std::to_string(row.n) + " levels";
        const Values linear = linear_encoding(row.x, row.n, row.lo, row.hi);
        const Values coarse = coarse_encoding(row.x, row.n, row.lo, row.hi);
        expectFrames({linear, coarse}, {row.linear, row.coarse}, 1e-6, where);

        // The other forms hold one such encoding per entry, in order; of a frame the first value counts.
        const Values sequence = {row.lo, row.x};
        const Frames frames = {{row.lo}, {row.x, 3.0f}, {}};
        const Values other = linear_encoding(row.lo, row.n, row.lo, row.hi);
        const Values otherCoarse = coarse_encoding(row.lo, row.n, row.lo, row.hi);
        EXPECT_EQ(linear_encoding(sequence, row.n, row.lo, row.hi), (Frames{other, linear}));
        EXPECT_EQ(coarse_encoding(sequence, row.n, row.lo, row.hi), (Frames{otherCoarse, coarse}));
        EXPECT_EQ(linear_encoding(frames, row.n, row.lo, row.hi), (Frames{other, linear, {}}));
        EXPECT_EQ(coarse_encoding(frames, row.n, row.lo, row.hi), (Frames{otherCoarse, coarse, {}}));
    }
}

TEST(PlainValueEncodings, Circle) {
    struct Row {
        float x;
        int n;
        float lo, hi, sharpness;
    };
    const Row rows[] = {
        {0.0f, 4, 0, 4, 0.3f},   {9.0f, 4, 0, 4, 0.3f},       {-9.0f, 4, 0, 4, 0.3f}, {3.6f, 4, 0, 4, 0.7f},
        {0.3f, 12, -1, 1, 0.3f}, {370.0f, 36, 20, 380, 2.0f}, {0.3f, 1, 0, 2, 0.7f},  // the only level is where the circle begins
        {4.0f, 4, 0, 4, 0.05f},  // where only a second lap, which is left out, would make it equal to 0
    };
    for (const Row& row : rows) {
        const double turn = std::clamp((static_cast<double>(row.x) - row.lo) / (row.hi - row.lo), 0.0, 1.0);
        Frame expected(static_cast<std::size_t>(row.n), 0.0);
        for (int k = 0; k < row.n; ++k)
            for (int lap = -1; lap <= 1; ++lap)
                expected[static_cast<std::size_t>(k)] +=
                    std::exp(-row.sharpness * std::pow(row.n * turn - k + lap * row.n, 2));
        // Up to 36 levels away: a position is good to a few 1e-6 levels.
        expectFrames({circular_encoding(row.x, row.n, row.lo, row.hi, row.sharpness)}, {expected}, 1e-5,
                     std::to_string(row.x) + " on " + std::to_string(row.n) + " levels");
    }
    for (int n : {0, -2}) EXPECT_TRUE(circular_encoding(1, n, 0, 4, 1).empty()) << n;
    EXPECT_TRUE(circular_encoding(3, 4, 3, 3, 1).empty());
}

}  // namespace
}  // namespace KaTessel::tests
