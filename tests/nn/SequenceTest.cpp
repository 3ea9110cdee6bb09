// The offline form: convolutions over blocks of frames, and the network made of them.
#include <cstdlib>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "nn/FrameLayer.h"
#include "nn/WaveNet2Sequence.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

Signal randomSignal(Random& random, int frames, int channels) {
    Signal signal;
    for (int t = 0; t < frames; ++t) {
        const std::vector<float> frame = random.values(channels);
        signal.emplace_back(frame.begin(), frame.end());
    }
    return signal;
}

// The signal in a block whose room before the first frame holds rubbish.
FrameBlock blockOf(const Signal& signal, int channels, int lead) {
    FrameBlock block;
    block.reset(static_cast<int>(signal.size()), channels, lead);
    for (int t = -lead; t < static_cast<int>(signal.size()); ++t)
        for (int i = 0; i < channels; ++i)
            block.frame(t)[i] = t < 0 ? 1000.0f : static_cast<float>(signal[t][i]);
    return block;
}

void expectBlock(const FrameBlock& block, const Signal& expected, double tolerance, const std::string& where) {
    ASSERT_EQ(block.frames(), static_cast<int>(expected.size())) << where;
    for (int t = 0; t < block.frames(); ++t) {
        ASSERT_EQ(block.channels(), static_cast<int>(expected[t].size())) << where;
        for (int o = 0; o < block.channels(); ++o)
            ASSERT_NEAR(block.frame(t)[o], expected[t][o], tolerance) << where << ", frame " << t << ", channel " << o;
    }
}

TEST(FrameLayer, MatchesTheCentredConvolution) {
    struct Row {
        int kernel, dilation, nIn, nOut;
        bool bias;
    };
    const Row rows[] = {{3, 2, 5, 4, true},  {3, 1, 70, 70, true}, {2, 1, 6, 9, true},  {4, 1, 3, 7, false},
                        {1, 1, 12, 5, true}, {5, 3, 2, 33, true},  {3, 4, 1, 1, false}, {9, 2, 4, 6, true}};
    Random random(71);
    for (const Row& row : rows)
        for (int frames : {0, 1, 2, 3, 5, 8, 12, 13, 40}) {
            const std::string where = "kernel " + std::to_string(row.kernel) + ", dilation " +
                                      std::to_string(row.dilation) + ", " + std::to_string(frames) + " frames";
            const NaiveKernel kernel = randomKernel(random, row.kernel, row.nIn, row.nOut, row.bias);
            // A second set of outputs that reads the same input.
            const NaiveKernel other = randomKernel(random, row.kernel, row.nIn, 3, true);
            const std::vector<float> kernelRows = kernel.rows(), otherRows = other.rows();
            FrameLayer layer(row.kernel, row.nIn);
            layer.add(kernelRows.data(), row.bias ? kernel.bias.data() : nullptr, row.nOut);
            layer.add(otherRows.data(), other.bias.data(), 3);
            ASSERT_EQ(layer.outputs(), row.nOut + 3);

            const Signal signal = randomSignal(random, frames, row.nIn);
            Signal expected = centredConvolution(signal, kernel, row.dilation);
            const Signal behind = centredConvolution(signal, other, row.dilation);
            for (std::size_t t = 0; t < expected.size(); ++t)
                expected[t].insert(expected[t].end(), behind[t].begin(), behind[t].end());
            FrameBlock in = blockOf(signal, row.nIn, FrameLayer::span(row.kernel, row.dilation));
            FrameBlock out = blockOf(randomSignal(random, 3, row.nOut + 3), row.nOut + 3, 2);
            // Sums of up to 210 products that together are about 1.
            layer.apply(in, row.dilation, out);
            expectBlock(out, expected, 5e-6, where);
            if (row.kernel > 1 || frames == 0) continue;
            layer.apply(in, row.dilation, out, true);
            for (Frame& frame : expected)
                for (double& v : frame) v *= 2.0;
            expectBlock(out, expected, 1e-5, where + ", added");
        }
}

// Even kernels reach back from a frame in the future: kernel 4 at dilation 1 sees frames t .. t + 3.
TEST(FrameLayer, WorkedExamples) {
    const float weights[4] = {1000.0f, 100.0f, 10.0f, 1.0f};
    const Signal signal = {{1.0}, {2.0}, {3.0}, {4.0}, {5.0}, {6.0}};
    const auto run = [&](int kernel, int dilation) {
        FrameLayer layer(kernel, 1);
        layer.add(weights, nullptr, 1);
        FrameBlock in = blockOf(signal, 1, FrameLayer::span(kernel, dilation)), out;
        layer.apply(in, dilation, out);
        return std::vector<float>(out.frame(0), out.frame(6));
    };
    EXPECT_EQ(run(1, 1), (std::vector<float>{1000, 2000, 3000, 4000, 5000, 6000}));
    EXPECT_EQ(run(2, 1), (std::vector<float>{2100, 3200, 4300, 5400, 6500, 0}));
    EXPECT_EQ(run(3, 1), (std::vector<float>{2110, 3210, 4320, 5430, 6540, 0}));
    EXPECT_EQ(run(3, 2), (std::vector<float>{3110, 4210, 5310, 6420, 0, 0}));
    EXPECT_EQ(run(4, 1), (std::vector<float>{4321, 5432, 6543, 0, 0, 0}));
}

TEST(SequenceNetwork, MatchesTheWholeSignalReference) {
    struct Row {
        int nInputs, initialKernel, kernel, cycle, layers, R, S;
        bool meanSkip, tanhInitial, biases;
    };
    const Row rows[] = {
        {150, 1, 3, 2, 3, 70, 120, true, false, true},  {5, 3, 3, 3, 4, 6, 7, false, true, true},
        {5, 2, 2, 2, 3, 6, 7, true, true, false},       {4, 1, 1, 2, 2, 3, 5, false, false, true},
        {4, 4, 5, 1, 1, 3, 5, true, false, true},
    };
    Random random(72);
    const TemporaryFolder folder;
    for (const Row& row : rows) {
        T_WN2_conf conf;
        conf.nInputs = row.nInputs;
        conf.initialKernel = row.initialKernel;
        conf.kernel = row.kernel;
        conf.dilationCycle = row.cycle;
        conf.nLayers = row.layers;
        conf.nResidual = row.R;
        conf.nSkip = row.S;
        conf.meanSkip = row.meanSkip;
        conf.tanhInitial = row.tanhInitial;
        conf.name = "N";
        conf.file = folder.file("weights");
        const NaiveWaveNet naive(conf, random, row.biases);
        WeightFileWriter writer;
        naive.addTo(writer);
        writer.save(conf.file);
        T_WN2* net = wavenet2_init(conf);
        {
            SequenceNetwork network(*net);
            for (int frames : {0, 1, 2, 4, 30, 7}) {
                const Signal signal = randomSignal(random, frames, row.nInputs);
                FrameBlock in = blockOf(signal, row.nInputs, network.lead()), out;
                network.process(in, out);
                expectBlock(out, naive.process(signal), 2e-5,
                            "kernel " + std::to_string(row.kernel) + ", " + std::to_string(frames) + " frames");
                if (HasFatalFailure()) break;
            }

            // A frame depends on what lies within the context, and on nothing further away.
            const int frames = 2 * network.context() + 21, middle = network.context() + 10;
            const Signal signal = randomSignal(random, frames, row.nInputs);
            FrameBlock in = blockOf(signal, row.nInputs, network.lead()), before, after;
            network.process(in, before);
            for (int i = 0; i < row.nInputs; ++i) in.frame(middle)[i] += 1.0f;
            network.process(in, after);
            for (int t = 0; t < frames; ++t) {
                if (std::abs(t - middle) <= network.context()) continue;
                for (int i = 0; i < row.S; ++i) ASSERT_EQ(before.frame(t)[i], after.frame(t)[i]) << t - middle;
            }
        }
        wavenet2_free(net);
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace KaTessel::tests
