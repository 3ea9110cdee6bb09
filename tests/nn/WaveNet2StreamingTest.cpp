// The streaming step against the network written out with whole histories.
#include <algorithm>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/Globals.h"
#include "katessel/WaveNet2.h"
#include "nn/Networks.h"
#include "nn/PackedStep.h"
#include "support/AllocationCounter.h"

namespace KaTessel::tests {
namespace {

TEST(WaveNet2Streaming, MatchesTheWholeHistoryReference) {
    const Shape shapes[] = {
        kEncoder,
        {.kernel = 2, .cycle = 3, .layers = 4, .R = 9},
        {.kernel = 5, .layers = 2, .R = 3, .S = 1},
        {.kernel = 1},
        {.layers = 0},
        {.kernel = 2, .cycle = 1, .layers = 1},
        {.cycle = 24, .firstSkip = 1, .mean = true},
        {.firstSkip = 3},
        {.initialKernel = 4, .kernel = 2, .firstSkip = 2, .tanhInitial = true},
        {.multiplicity = 2},
        {.R = 2, .multiplicity = 3},
        {.multiplicity = 1},  // no rows to spare: read from the start
    };
    Random random(61);
    for (std::size_t s = 0; s < std::size(shapes); ++s)
        for (bool withBiases : {true, false}) {
            SCOPED_TRACE(testing::Message() << "shape " << s << (withBiases ? "" : " without biases"));
            const Shape& shape = shapes[s];
            NaiveWaveNet naive(shape.conf(), random, withBiases);
            const NetPointer net = build(naive, shape), mixed = build(naive, shape);
            const PackedNetwork packed(*kernels::active, *mixed);
            // What packed steps are for; there they take turns with the others.
            const bool packs = shape.initialKernel == 1 && shape.multiplicity < 2;
            std::vector<float> branches(static_cast<std::size_t>(2 * shape.R));
            std::vector<Frames> dump(static_cast<std::size_t>(shape.layers));
            for (int t = 0; t < 40; ++t) {
                std::vector<float> in = random.values(shape.nInputs);
                const Frame expected = naive.step(in);
                wavenet2_step_noncausal(in.data(), net.get(), -1000, &dump);
                // Rounding of sums of up to 210 products of size 1 / 10, passed on through a few layers.
                for (std::size_t i = 0; i < expected.size(); ++i)
                    ASSERT_NEAR(net->skipSum[i], expected[i], 2e-5) << "call " << t;
                if (packs && t % 3 != 0)
                    packedStep(packed, branches.data(), in.data(), *mixed);
                else
                    wavenet2_step_noncausal(in.data(), mixed.get(), -1000, nullptr);
                for (std::size_t i = 0; i < expected.size(); ++i)
                    ASSERT_NEAR(mixed->skipSum[i], expected[i], 2e-5) << "call " << t;
            }
            for (std::size_t l = 0; l < dump.size(); ++l) expectFrames(dump[l], naive.layers[l].gated, 2e-5, "dump");
        }
}

// When the skip outputs of each layer alone arrive: an impulse moves through the encoder from call 0 to call 8.
TEST(WaveNet2Streaming, ImpulseThroughTheEncoder) {
    struct Row {
        int layer;  // the only one whose skip output counts; -1: all
        int first, last;
    };
    for (const Row& row : {Row{-1, 0, 8}, Row{0, 5, 7}, Row{1, 1, 7}, Row{2, 0, 8}}) {
        Random random(62);
        NaiveWaveNet naive(kEncoder.conf(), random, true);
        for (std::size_t l = 0; l < 3; ++l)
            if (row.layer >= 0 && l != static_cast<std::size_t>(row.layer))
                std::fill(naive.layers[l].skip.stored.begin(), naive.layers[l].skip.stored.end(), 0.0f);
        const NetPointer quiet = build(naive, kEncoder), struck = build(naive, kEncoder);
        std::vector<float> silence(150, 0.0f), impulse = random.values(150);
        const int before = 30;
        std::vector<int> calls;
        for (int t = 0; t < before + 25; ++t) {
            wavenet2_step_noncausal(silence.data(), quiet.get(), 0, nullptr);
            wavenet2_step_noncausal(t == before ? impulse.data() : silence.data(), struck.get(), 0, nullptr);
            if (!std::equal(quiet->skipSum, quiet->skipSum + 120, struck->skipSum)) calls.push_back(t - before);
        }
        ASSERT_FALSE(calls.empty());
        EXPECT_EQ(calls.front(), row.first) << "layer " << row.layer;
        EXPECT_EQ(calls.back(), row.last) << "layer " << row.layer;
    }
}

TEST(WaveNet2Streaming, DelayLinesAreMadeOnceAndNothingElseIsAllocated) {
    // Layers before the first skip output have their line all the same.
    for (const Shape& shape : {Shape{.initialKernel = 3, .firstSkip = 1}, Shape{.layers = 1}}) {
        Random random(63);
        const NaiveWaveNet naive(shape.conf(), random, true);
        std::vector<float> in = random.values(5);
        const AllocationCounter life;
        NetPointer net = build(naive, shape);
        wavenet2_step_noncausal(in.data(), net.get(), -1000, nullptr);
        const int frames[] = {6, 2, 0};
        for (int l = 0; l < shape.layers; ++l) {
            const int expected = shape.layers == 3 ? frames[l] * shape.S : 0;
            EXPECT_EQ(net->layers[l].skipDelaySize, expected);
            EXPECT_EQ(net->layers[l].skipDelay != nullptr, expected > 0);
        }
        const AllocationCounter counter;
        for (int t = 0; t < 20; ++t) wavenet2_step_noncausal(in.data(), net.get(), -1000, nullptr);
        EXPECT_EQ(counter.allocations(), 0);
        net.reset();
        EXPECT_EQ(life.allocations(), life.releases());
    }
}

TEST(WaveNet2Streaming, TimeIsAddedOnlyWhileItIsMeasured) {
    Random random(66);
    const NetPointer net = build(NaiveWaveNet(kEncoder.conf(), random, true), kEncoder);
    std::vector<float> in = random.values(150);
    for (const int measures : {0, 1}) {
        performance_analysis_ = measures;
        wavenet2_step_dur_ = 0.0f;
        for (int t = 0; t < 200; ++t) wavenet2_step_noncausal(in.data(), net.get(), 0, nullptr);
        EXPECT_EQ(wavenet2_step_dur_ > 0.0f, measures != 0);
    }
}

}  // namespace
}  // namespace KaTessel::tests
