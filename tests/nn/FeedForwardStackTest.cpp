// The convolution over sequences against its definition over the whole stream.
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FeedForwardStack.h"
#include "nn/Networks.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"

namespace KaTessel::tests {
namespace {

// What the next call returns: the stream grows by its frames and, centred, by the zeros behind them.
Signal continueStream(Signal& stream, const Frames& in, const NaiveKernel& kernel, bool causal) {
    const int start = static_cast<int>(stream.size()), delay = causal ? 0 : (kernel.taps - 1) / 2;
    for (const Frame& frame : signalOf(in)) stream.push_back(frame);
    stream.resize(stream.size() + static_cast<std::size_t>(delay), Frame(static_cast<std::size_t>(kernel.nIn), 0.0));
    Signal out;
    for (std::size_t t = 0; t < in.size(); ++t)
        out.push_back(convolveAt(stream, start + delay + static_cast<int>(t), kernel, 1));
    return out;
}

TEST(FeedForwardConvolution, StreamMatchesTheDefinition) {
    Random random(211);
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    for (int kernel = 1; kernel <= 5; ++kernel)
        for (const bool causal : {true, false}) {
            const bool bias = kernel != 2;
            const int nIn = 20 - 2 * kernel, nOut = 2 + 3 * kernel;
            const std::string where = "kernel " + std::to_string(kernel) + (causal ? ", causal" : ", centred");
            const NaiveKernel naive = randomKernel(random, kernel, nIn, nOut, bias);
            WeightFileWriter().add("layer", naive.tensors()).save(path);
            T_FF_CONV1D* layer = FF_CONV1D_init(path, "layer", nIn, nOut, kernel);
            EXPECT_EQ(layer->bias == nullptr, !bias) << where;
            Signal stream;
            Frames out(20, std::vector<float>(40, 7.0f));
            for (int frames : {6, 0, 1, 2, 9}) {
                // Sums of up to 52 products that together are about 1.
                const Frames in = randomFrames(random, frames, nIn);
                FF_CONV1D_process(in, out, layer, causal);
                expectFrames(out, continueStream(stream, in, naive, causal), 2e-6, where);
                // By name, with a history of its own and in place of a frame that is too short.
                Frames again = {{7.0f}};
                FF_CONV1D_process(in, again, path, "layer", nIn, nOut, kernel, causal);
                Signal fresh;
                expectFrames(again, continueStream(fresh, in, naive, causal), 2e-6, where + ", by name");
                if (HasFatalFailure()) return;
            }
            FF_CONV1D_free(layer);
            delete layer;
        }
}

TEST(PlainFeedForwardConvolution, LifeOfALayer) {
    CapturedStdout captured;
    T_FF_CONV1D* layer = FF_CONV1D_init("/nonexistent", "layer", 2, 4, 3);
    Frames out;
    FF_CONV1D_process({{1, 2}, {3, 4}}, out, layer, false);
    EXPECT_EQ(captured.text(), "WARNING: layer not loaded!\n");
    EXPECT_EQ(out, Frames(2, std::vector<float>(4, 0.0f)));
    EXPECT_EQ(layer->historyIndex, 2);  // two frames and one of padding, two at a time
    const AllocationCounter counter;
    FF_CONV1D_free(layer);
    FF_CONV1D_free(layer);  // nothing left to release
    EXPECT_EQ(counter.releases(), 3);
    delete layer;
    FF_CONV1D_free(nullptr);
}

}  // namespace
}  // namespace KaTessel::tests
