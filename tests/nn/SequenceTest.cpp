// The offline form: convolutions over blocks of frames, and the network made of them.
#include <cstdlib>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "nn/Networks.h"
#include "nn/WaveNet2Sequence.h"

namespace KaTessel::tests {
namespace {

// The sequence in a block whose room before the first frame holds rubbish.
FrameBlock blockOf(const Frames& frames, int channels, int padding) {
    FrameBlock block;
    block.assign(frames, channels, padding);
    for (int i = 0; i < padding * channels; ++i) block.frame(-padding)[i] = 1000.0f;
    return block;
}

// Even kernels reach back from a frame in the future: kernel 4 at dilation 1 sees frames t .. t + 3.
TEST(PackedLayer, WorkedExamples) {
    struct Row {
        int kernel, dilation;
        std::vector<float> expected;
    };
    const Row rows[] = {
        {1, 1, {1000, 2000, 3000, 4000, 5000, 6000}}, {2, 1, {2100, 3200, 4300, 5400, 6500, 0}},
        {3, 1, {2110, 3210, 4320, 5430, 6540, 0}},    {3, 2, {3110, 4210, 5310, 6420, 0, 0}},
        {4, 1, {4321, 5432, 6543, 0, 0, 0}},
    };
    const float weights[4] = {1000.0f, 100.0f, 10.0f, 1.0f};
    for (const Row& row : rows) {
        const PackedLayer layer(*kernels::active, row.kernel, 1, {{weights, nullptr, 1}});
        FrameBlock in = blockOf({{1}, {2}, {3}, {4}, {5}, {6}}, 1, PackedLayer::span(row.kernel, row.dilation)), out;
        layer.apply(in, row.dilation, out);
        EXPECT_EQ(std::vector<float>(out.frame(0), out.frame(6)), row.expected) << "kernel " << row.kernel;
    }
}

TEST(SequenceNetwork, MatchesTheWholeSignalReference) {
    const Shape shapes[] = {
        kEncoder,
        {.initialKernel = 3, .cycle = 3, .layers = 4, .tanhInitial = true},
        {.initialKernel = 2, .kernel = 2, .mean = true},
        {.kernel = 1, .layers = 2},
        {.initialKernel = 9, .kernel = 5, .R = 33, .S = 1},
        {.initialKernel = 4, .kernel = 4, .layers = 2},
    };
    Random random(72);
    for (const Shape& shape : shapes) {
        const NaiveWaveNet naive(shape.conf(), random, shape.kernel != 2);
        const NetPointer net = build(naive, shape);
        const PackedNetwork packed(*kernels::active, *net);
        SequenceNetwork network(packed);
        FrameBlock before, after;
        for (int frames : {0, 1, 2, 4, 30, 7}) {
            const Frames frameValues = randomFrames(random, frames, shape.nInputs);
            FrameBlock in = blockOf(frameValues, shape.nInputs, network.padding());
            network.process(in, before);
            expectFrames(before.toSequence(), naive.process(signalOf(frameValues)), 2e-5,
                         "kernel " + std::to_string(shape.kernel) + ", " + std::to_string(frames) + " frames");
            if (HasFatalFailure()) return;
        }

        // A frame depends on what lies within the context, and on nothing further away.
        const int frames = 2 * network.context() + 21, middle = network.context() + 10;
        FrameBlock in = blockOf(randomFrames(random, frames, shape.nInputs), shape.nInputs, network.padding());
        network.process(in, before);
        for (int i = 0; i < shape.nInputs; ++i) in.frame(middle)[i] += 1.0f;
        network.process(in, after);
        for (int t = 0; t < frames * shape.S; ++t) {
            if (std::abs(t / shape.S - middle) <= network.context()) continue;
            ASSERT_EQ(before.frame(0)[t], after.frame(0)[t]) << t / shape.S - middle;
        }
    }
}

}  // namespace
}  // namespace KaTessel::tests
