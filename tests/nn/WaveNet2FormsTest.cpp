// The causal, offline and circular forms behind their interface of sequences.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FrameMatrix.h"
#include "katessel/WaveNet2.h"
#include "nn/Networks.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"

namespace KaTessel::tests {
namespace {

TEST(WaveNet2Causal, MatchesTheDefinitionWithEveryPart) {
    const Shape shapes[] = {
        {.mean = true},
        {.initialKernel = 3,
         .kernel = 2,
         .cycle = 3,
         .layers = 4,
         .firstSkip = 1,
         .nCond = 3,
         .mean = true,
         .tanhInitial = true},
        {.kernel = 2, .nCond = 4, .nState = 9, .oneByOne = true},
        {.firstSkip = 2, .nState = 2, .oneByOne = true, .tanhResidual = true},
        {.layers = 1, .nCond = 3, .mean = true, .oneByOne = true},
        {.layers = 2, .firstSkip = 2},
    };
    Random random(81);
    for (std::size_t s = 0; s < std::size(shapes); ++s) {
        const Shape& shape = shapes[s];
        NaiveWaveNet naive(shape.conf(), random, true);
        const NetPointer net = build(naive, shape);
        for (int t = 0; t < 25; ++t) {
            std::vector<float> in = random.values(5), cond = random.values(shape.nCond),
                               state = random.values(shape.nState);
            const AllocationCounter counter;
            wavenet2_step(in.data(), cond.data(), state.data(), net.get());
            ASSERT_EQ(counter.allocations(), 0);
            const NaiveWaveNet::Conditions conditions = {{cond.begin(), cond.end()}, {state.begin(), state.end()}};
            const Frame expected = naive.step(in, &conditions);
            for (std::size_t i = 0; i < expected.size(); ++i)
                ASSERT_NEAR(net->skipSum[i], expected[i], 1e-5) << "shape " << s << ", frame " << t;
        }
    }
}

// With one layer there is nothing to align, with kernels of one tap nothing to look ahead to.
TEST(WaveNet2Causal, AgreesWithTheStreamingStepWhereNothingLooksAhead) {
    const struct {
        int kernel, layers;
        bool same;
    } rows[] = {{3, 1, true}, {1, 3, true}, {3, 2, false}, {2, 3, false}};
    Random random(82);
    for (const auto& row : rows) {
        const Shape shape = {.kernel = row.kernel, .layers = row.layers, .mean = true};
        const NaiveWaveNet naive(shape.conf(), random, true);
        const NetPointer causal = build(naive, shape), streaming = build(naive, shape);
        double largest = 0.0;
        for (std::vector<float>& in : randomFrames(random, 20, shape.nInputs)) {
            wavenet2_step(in.data(), nullptr, nullptr, causal.get());
            wavenet2_step_noncausal(in.data(), streaming.get(), 0, nullptr);
            for (int i = 0; i < shape.S; ++i)
                largest = std::max(largest, std::fabs(static_cast<double>(causal->skipSum[i]) - streaming->skipSum[i]));
        }
        EXPECT_EQ(row.same, largest == 0.0) << "kernel " << row.kernel << ", " << row.layers << " layers: " << largest;
    }
}

TEST(WaveNet2Causal, TheSequenceFormMovesTheStateAndReturnsZeros) {
    Random random(83);
    const Shape shape = {.initialKernel = 2, .nCond = 4};
    const NaiveWaveNet naive(shape.conf(), random, true);
    const NetPointer net = build(naive, shape), single = build(naive, shape);
    Frames in = randomFrames(random, 4, 5), cond = randomFrames(random, 3, 4), out(9, std::vector<float>(2, 7.0f));
    wavenet2_process_causal(in, &cond, out, net.get());
    EXPECT_EQ(out, Frames(4, std::vector<float>(7, 0.0f)));
    // The last conditioning frame serves once more.
    for (std::size_t t = 0; t < 4; ++t)
        wavenet2_step(in[t].data(), cond[std::min<std::size_t>(t, 2)].data(), nullptr, single.get());
    EXPECT_TRUE(std::equal(net->skipSum, net->skipSum + 7, single->skipSum));
    wavenet2_process_causal({}, &cond, out, net.get());
    EXPECT_TRUE(out.empty());
}

TEST(WaveNet2Sequences, ARingStartsAnywhereAndClampsAtItsOwnFirstFrame) {
    // Kernel 3, dilation 1, start 2 of 4: output 0 sees the logical frames 1, 0 and 0, stored at 3, 2 and 2.
    float weights[3] = {100.0f, 10.0f, 1.0f};
    const Frames ring = {{1.0f}, {2.0f}, {3.0f}, {4.0f}};
    Frames out;
    for (const int start : {2, -2}) {
        WN2_conv1D_process_noncausal_circular(ring, start, out, 1, 3, weights, nullptr, 1, 1);
        EXPECT_EQ(out, (Frames{{433.0f}, {143.0f}, {214.0f}, {0.0f}}));
    }
    WN2_conv1D_process_noncausal_circular({}, 2, out, 1, 3, weights, nullptr, 1, 1);
    EXPECT_TRUE(out.empty());

    // The network: the ring's order at its input, an ordinary sequence from there on.
    Random random(85);
    const Shape shape = {.initialKernel = 3};
    const NetPointer net = build(NaiveWaveNet(shape.conf(), random, true), shape);
    const Frames in = randomFrames(random, 11, 5);
    Frames turned(in), linear;
    std::rotate(turned.begin(), turned.begin() + 4, turned.end());
    wavenet2_process_noncausal(turned, nullptr, linear, net.get(), false);
    wavenet2_process_noncausal_circular(in, 4, nullptr, out, net.get(), false);
    EXPECT_EQ(out, linear);
}

TEST(WaveNet2Sequences, TheOfflineFormDumpsItsSteps) {
    Random random(86);
    const TemporaryFolder folder;
    const Shape shape = {.initialKernel = 3, .layers = 2, .tanhInitial = true};
    const NetPointer net = build(NaiveWaveNet(shape.conf(), random, true), shape);
    const Frames in = randomFrames(random, 12, 5);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(pathOf(folder.path()));
    Frames out;
    wavenet2_process_noncausal(in, nullptr, out, net.get(), false);
    EXPECT_FALSE(std::filesystem::exists("plot"));
    wavenet2_process_noncausal(in, nullptr, out, net.get(), true);
    std::map<std::string, Frames> dumps;
    for (const auto& entry : std::filesystem::directory_iterator("plot")) {
        float period = 0.0f;
        int size = 0;
        EXPECT_TRUE(loadContext(entry.path().string(), dumps[entry.path().filename().string()], period, size));
        EXPECT_EQ(period, 0.005f);
    }
    std::filesystem::current_path(before);

    ASSERT_EQ(dumps.size(), 6u);
    EXPECT_EQ(dumps.count("_N__WN_DILCONVOUT1.bin") + dumps.count("_N__WN_LAYEROUT1.bin"), 2u);
    EXPECT_EQ(dumps["_N__WN_SKIPSUM.bin"], out);
    // Before the tanh of the initial convolution.
    Frames initial;
    WN2_conv1D_process_noncausal(in, initial, 1, 3, net->initialW, net->initialB, 5, 6);
    EXPECT_EQ(dumps["_N__WN_INITIAL_CONV.bin"], initial);
}

TEST(WaveNet2Sequences, TheDriverRunsCausallyAndKeepsOfflineResultsToItself) {
    Random random(87);
    const auto drive = [&](Frames* out, bool causal) {
        wavenet2_process(randomFrames(random, 5, 5), out, {}, "N", "/nonexistent", 5, 0, 3, 2, 1, 3, 7, 6, true, 0,
                         false, false, causal);
    };
    CapturedStdout captured;  // there is no weight file
    Frames out = {{1.0f}};
    drive(&out, false);
    EXPECT_EQ(out, Frames({{1.0f}}));
    drive(&out, true);
    EXPECT_EQ(out, Frames(5, std::vector<float>(6, 0.0f)));
}

}  // namespace
}  // namespace KaTessel::tests
