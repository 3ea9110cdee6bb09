// The convolution over sequences against its definition over the whole stream.
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FeedForwardStack.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/GuardedBuffer.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

using Frames = std::vector<std::vector<float>>;

Frames randomFrames(Random& random, int frames, int n) {
    Frames out;
    for (int t = 0; t < frames; ++t) out.push_back(random.values(n));
    return out;
}

// What the next call returns: the stream grows by its frames and, centred, by the zeros behind them.
Signal continueStream(Signal& stream, const Frames& in, const NaiveKernel& kernel, bool causal) {
    const int start = static_cast<int>(stream.size()), delay = causal ? 0 : (kernel.taps - 1) / 2;
    for (const std::vector<float>& frame : in) stream.emplace_back(frame.begin(), frame.end());
    stream.resize(stream.size() + static_cast<std::size_t>(delay), Frame(static_cast<std::size_t>(kernel.nIn), 0.0));
    Signal out;
    for (std::size_t t = 0; t < in.size(); ++t)
        out.push_back(convolveAt(stream, start + delay + static_cast<int>(t), kernel, 1));
    return out;
}

void expectFrames(const Frames& out, const Signal& expected, const std::string& where) {
    ASSERT_EQ(out.size(), expected.size()) << where;
    for (std::size_t t = 0; t < out.size(); ++t) {
        ASSERT_EQ(out[t].size(), expected[t].size()) << where;
        // Sums of up to 45 products that together are about 1.
        for (std::size_t o = 0; o < out[t].size(); ++o)
            ASSERT_NEAR(out[t][o], expected[t][o], 2e-6) << where << ", frame " << t << ", output " << o;
    }
}

TEST(FeedForwardConvolution, StreamMatchesTheDefinition) {
    Random random(211);
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    for (int kernel = 1; kernel <= 5; ++kernel)
        for (const bool causal : {true, false})
            for (const bool bias : {true, false}) {
                const int nIn = 11 - 2 * kernel + (bias ? 0 : 9), nOut = 2 + 3 * kernel;
                const std::string where = "kernel " + std::to_string(kernel) + (causal ? ", causal" : ", centred") +
                                          (bias ? ", bias" : "");
                const NaiveKernel naive = randomKernel(random, kernel, nIn, nOut, bias);
                WeightFileWriter().add("layer", naive.tensors()).save(path);
                T_FF_CONV1D* layer = FF_CONV1D_init(path, "layer", nIn, nOut, kernel);
                EXPECT_EQ(layer->bias == nullptr, !bias) << where;
                Signal stream;
                Frames out(20, std::vector<float>(40, 7.0f));
                for (int frames : {6, 0, 1, 2, 9}) {
                    const std::string call = where + ", " + std::to_string(frames) + " frames";
                    const Frames in = randomFrames(random, frames, nIn);
                    FF_CONV1D_process(in, out, layer, causal);
                    expectFrames(out, continueStream(stream, in, naive, causal), call);
                    Frames again;  // by name, with a history of its own
                    FF_CONV1D_process(in, again, path, "layer", nIn, nOut, kernel, causal);
                    Signal fresh;
                    expectFrames(again, continueStream(fresh, in, naive, causal), call + ", by name");
                    if (HasFatalFailure()) return;
                }
                FF_CONV1D_free(layer);
                delete layer;
            }
}

// Taps 1, 10, 100 and 1000 over the signal 1, 2, 3, 4.
TEST(FeedForwardConvolution, CountingSignal) {
    struct Row {
        int kernel;
        bool causal;
        std::vector<float> expected;
    };
    const Row rows[] = {
        {1, true, {1, 2, 3, 4}},       {1, false, {1, 2, 3, 4}},       {2, false, {1, 12, 23, 34}},
        {3, true, {1, 12, 123, 234}},  {3, false, {12, 123, 234, 340}},
        {4, true, {1, 12, 123, 1234}}, {4, false, {12, 123, 1234, 2340}},
    };
    const TemporaryFolder folder;
    for (const Row& row : rows) {
        std::vector<float> taps = {1, 10, 100, 1000};
        taps.resize(static_cast<std::size_t>(row.kernel));
        WeightFileWriter().add("layer", {{{row.kernel, 1, 1}, taps}}).save(folder.file("weights"));
        Frames out;
        FF_CONV1D_process({{1}, {2}, {3}, {4}}, out, folder.file("weights"), "layer", 1, 1, row.kernel, row.causal);
        std::vector<float> values;
        for (const std::vector<float>& frame : out) values.push_back(frame.at(0));
        EXPECT_EQ(values, row.expected) << "kernel " << row.kernel << (row.causal ? ", causal" : ", centred");
    }
}

TEST(FeedForwardConvolution, FramesInPlaceOfTheOutput) {
    Random random(212);
    const TemporaryFolder folder;
    const NaiveKernel naive = randomKernel(random, 1, 3, 4, true);
    WeightFileWriter().add("layer", naive.tensors()).save(folder.file("weights"));
    const Frames in = randomFrames(random, 3, 3);
    Frames out = {{7.0f}, std::vector<float>(6, 7.0f)};  // one too short, one too long, one missing
    FF_CONV1D_process(in, out, folder.file("weights"), "layer", 3, 4, 1, true);
    ASSERT_EQ(out[1], (std::vector<float>{out[1][0], out[1][1], out[1][2], out[1][3], 7.0f, 7.0f}));
    out[1].resize(4);
    Signal stream;
    expectFrames(out, continueStream(stream, in, naive, true), "one tap, by name");
}

TEST(PlainFeedForwardConvolution, LifeOfALayer) {
    CapturedStdout captured;
    T_FF_CONV1D_conf conf;
    conf.file = "/nonexistent";
    conf.name = "layer";
    conf.kernel = 3;
    conf.nIn = 2;
    conf.nOut = 4;
    T_FF_CONV1D* layer = FF_CONV1D_init(conf);
    Frames out;
    FF_CONV1D_process({{1, 2}, {3, 4}}, out, layer, false);
    EXPECT_EQ(captured.text(), "WARNING: layer not loaded!\n");
    EXPECT_EQ(out, Frames(2, std::vector<float>(4, 0.0f)));
    EXPECT_EQ(layer->historySize, 4);
    EXPECT_EQ(layer->historyIndex, 2);  // two frames and one of padding, two at a time
    EXPECT_EQ(std::vector<float>(layer->history, layer->history + 4), (std::vector<float>{0, 0, 3, 4}));
    const AllocationCounter counter;
    FF_CONV1D_free(layer);
    EXPECT_EQ(counter.releases(), 3);
    FF_CONV1D_free(layer);  // nothing left to release
    EXPECT_EQ(counter.releases(), 3);
    delete layer;
    FF_CONV1D_free(nullptr);

    T_CONV1D* place = conv1d_init(T_CONV1D_conf());
    ASSERT_NE(place, nullptr);
    float x = 2.0f;
    conv1d_step(&x, place);
    EXPECT_EQ(x, 2.0f);
    delete place;
}

}  // namespace
}  // namespace KaTessel::tests
