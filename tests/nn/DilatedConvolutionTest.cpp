// The streaming dilated convolution against its definition over a whole signal.
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "support/GuardedBuffer.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"

namespace KaTessel::tests {
namespace {

struct Shape {
    int kernel, dilation, nIn, nOut;
    bool bias;
};

TEST(DilatedConvolution, StreamMatchesTheDefinition) {
    const Shape shapes[] = {
        {2, 1, 70, 70, true}, {2, 3, 5, 4, false}, {3, 1, 70, 70, true},  {3, 2, 70, 70, false}, {3, 4, 17, 33, true},
        {5, 2, 9, 6, true},   {5, 1, 1, 1, false}, {1, 1, 12, 7, true},   {8, 1, 3, 5, true},    {9, 2, 6, 5, true},
        {17, 1, 4, 9, true},  {3, 512, 2, 3, true}, {3, 1, 6, 0, true},
    };
    Random random(51);
    for (const Shape& s : shapes) {
        const std::string where = "kernel " + std::to_string(s.kernel) + ", dilation " + std::to_string(s.dilation) +
                                  ", " + std::to_string(s.nIn) + " to " + std::to_string(s.nOut);
        const NaiveKernel kernel = randomKernel(random, s.kernel, s.nIn, s.nOut, s.bias);
        FencedInput weights(kernel.rows()), bias(kernel.bias);
        const int size = (s.kernel - 1) * s.dilation * s.nIn;
        FencedInput history(std::vector<float>(static_cast<std::size_t>(size), 0.0f));
        std::vector<float> shadow(static_cast<std::size_t>(size), 0.0f);
        int index = 0;
        Signal signal;
        // Long enough to go round the history twice.
        for (int t = 0; t < 2 * (s.kernel - 1) * s.dilation + 3; ++t) {
            const std::vector<float> frame = random.values(s.nIn);
            signal.emplace_back(frame.begin(), frame.end());
            FencedInput x(frame);
            GuardedBuffer out(s.nOut, 1, 99.0f);
            WN2_conv1D(x.data(), history.data(), index, size, s.dilation, out.data(), s.kernel, weights.data(),
                       s.bias ? bias.data() : nullptr, s.nIn, s.nOut);
            const Frame expected = convolveAt(signal, t, kernel, s.dilation);
            // Sums of up to 210 products that together are about 1.
            for (int o = 0; o < s.nOut; ++o) ASSERT_NEAR(out[o], expected[o], 5e-6) << where << ", frame " << t;
            ASSERT_TRUE(out.intact()) << where;
            ASSERT_TRUE(std::equal(shadow.begin(), shadow.end(), history.data())) << where;  // the caller appends
            if (size == 0) continue;
            std::copy(frame.begin(), frame.end(), history.data() + index);
            std::copy(frame.begin(), frame.end(), shadow.begin() + index);
            index = (index + s.nIn) % size;
        }
    }
}

TEST(DilatedConvolution, CountingSignal) {
    float weights[3] = {1.0f, 10.0f, 100.0f}, history[4] = {}, out = 0.0f;
    int index = 0;
    for (int t = 0; t < 20; ++t) {
        float x = static_cast<float>(t + 1);
        WN2_conv1D(&x, history, index, 4, 2, &out, 3, weights, nullptr, 1, 1);
        const auto at = [](int frame) { return frame < 0 ? 0.0f : static_cast<float>(frame + 1); };
        EXPECT_EQ(out, at(t) + 10.0f * at(t - 2) + 100.0f * at(t - 4)) << t;
        history[index] = x;
        index = (index + 1) % 4;
    }
}

TEST(DilatedConvolution, FramesWithoutValuesGiveTheBias) {
    float bias[2] = {3.0f, -4.0f}, none = 0.0f;
    for (int kernel : {1, 2, 3}) {
        GuardedBuffer out(2, 1, 9.0f);
        WN2_conv1D(&none, nullptr, 0, 0, 2, out.data(), kernel, &none, bias, 0, 2);
        EXPECT_EQ(out[0], 3.0f);
        EXPECT_EQ(out[1], -4.0f);
        WN2_conv1D(&none, nullptr, 0, 0, 2, out.data(), kernel, &none, nullptr, 0, 2);
        EXPECT_EQ(out[0], 0.0f);
        EXPECT_EQ(out[1], 0.0f);
        EXPECT_TRUE(out.intact());
    }
}

TEST(PlainReceptiveField, Table) {
    struct Row {
        int layers, cycle, initialKernel, kernel, frames;
    };
    const Row rows[] = {
        {0, 2, 5, 3, 5},   {-1, 2, 5, 3, 5},  {3, 2, 1, 3, 9}, {4, 4, 1, 2, 16},
        {6, 3, 2, 3, 30},  {5, 1, 1, 4, 16},  {3, 2, 1, 1, 1}, {20, 10, 1, 2, 2047},
        {1, 10, 3, 2, 4},  {31, 40, 0, 2, 2147483647},
    };
    for (const Row& row : rows)
        EXPECT_EQ(calc_receptive_field(row.layers, row.cycle, row.initialKernel, row.kernel), row.frames)
            << row.layers << " layers, cycle " << row.cycle;
}

}  // namespace
}  // namespace KaTessel::tests
