// The streaming dilated convolution against its definition over a whole signal.
#include <algorithm>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "support/GuardedBuffer.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

TEST(DilatedConvolution, StreamMatchesTheDefinition) {
    struct Row {
        int kernel, dilation, nIn, nOut;
        bool bias;
    };
    const Row rows[] = {
        {3, 2, 70, 70, true}, {2, 3, 5, 4, false}, {3, 4, 17, 33, true}, {5, 1, 1, 1, false}, {1, 1, 12, 7, true},
        {9, 2, 6, 5, true},   {17, 1, 4, 9, true}, {3, 512, 2, 3, true}, {3, 1, 6, 0, true},  {3, 2, 0, 2, true},
    };
    Random random(51);
    for (const Row& row : rows) {
        const std::string where = "kernel " + std::to_string(row.kernel) + ", dilation " + std::to_string(row.dilation);
        const NaiveKernel kernel = randomKernel(random, row.kernel, row.nIn, row.nOut, row.bias);
        FencedInput weights(kernel.rows()), bias(kernel.bias);
        const int size = (row.kernel - 1) * row.dilation * row.nIn;
        FencedInput history(std::vector<float>(static_cast<std::size_t>(size), 0.0f));
        int index = 0;
        Signal signal;
        // Long enough to go round the history twice.
        for (int t = 0; t < 2 * (row.kernel - 1) * row.dilation + 3; ++t) {
            const std::vector<float> frame = random.values(row.nIn);
            signal.emplace_back(frame.begin(), frame.end());
            FencedInput x(frame);
            GuardedBuffer out(row.nOut, 1, 99.0f);
            WN2_conv1D(x.data(), history.data(), index, size, row.dilation, out.data(), row.kernel, weights.data(),
                       row.bias ? bias.data() : nullptr, row.nIn, row.nOut);
            const Frame expected = convolveAt(signal, t, kernel, row.dilation);
            // Sums of up to 210 products that together are about 1.
            for (std::size_t o = 0; o < expected.size(); ++o)
                ASSERT_NEAR(out.data()[o], expected[o], 5e-6) << where << ", frame " << t;
            ASSERT_TRUE(out.intact()) << where;
            if (size == 0) continue;
            std::copy(frame.begin(), frame.end(), history.data() + index);  // left to the caller
            index = (index + row.nIn) % size;
        }
    }
}

// A kernel of two taps takes the frame at the index, whatever the history's size is said to be.
TEST(DilatedConvolution, TwoTapsDoNotAskForTheSizeOfTheHistory) {
    float x[2] = {1.0f, 2.0f}, history[4] = {5.0f, 6.0f, 7.0f, 8.0f}, weights[4] = {1.0f, 10.0f, 100.0f, 1000.0f};
    for (const int size : {0, 4}) {
        float out = 0.0f;
        WN2_conv1D(x, history, 2, size, 2, &out, 2, weights, nullptr, 2, 1);
        EXPECT_EQ(out, 8721.0f) << size;
    }
}

TEST(PlainReceptiveField, Table) {
    EXPECT_EQ(calc_receptive_field(0, 2, 5, 3), 5);
    EXPECT_EQ(calc_receptive_field(6, 3, 2, 3), 30);
    EXPECT_EQ(calc_receptive_field(3, 2, 1, 1), 1);
    EXPECT_EQ(calc_receptive_field(20, 10, 1, 2), 2047);
}

}  // namespace
}  // namespace KaTessel::tests
