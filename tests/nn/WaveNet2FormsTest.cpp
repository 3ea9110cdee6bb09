// The causal, offline and circular forms behind their interface of sequences, and how they differ from each other.
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FrameMatrix.h"
#include "katessel/WaveNet2.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

using Frames = std::vector<std::vector<float>>;

struct Release {
    void operator()(T_WN2* net) const { wavenet2_free(net); }
};
using NetPointer = std::unique_ptr<T_WN2, Release>;

Frames randomFrames(Random& random, int frames, int channels) {
    Frames all;
    for (int t = 0; t < frames; ++t) all.push_back(random.values(channels));
    return all;
}

// A causal network with everything that a layer can have, by definition.
class NaiveCausalNet {
public:
    NaiveCausalNet(const T_WN2_conf& conf, Random& random) : m_conf(conf), m_base(conf, random, true) {
        const int R = conf.nResidual;
        for (int l = 0; l < conf.nLayers; ++l) {
            Extra extra;
            for (int b = 0; b < 2; ++b) {
                extra.cond[b] = randomKernel(random, 1, std::max(conf.nCond, 1), R, true);
                extra.state[b] = randomKernel(random, 1, std::max(conf.nState, 1), R, true);
            }
            extra.res1x1 = randomKernel(random, 1, R, R, true);
            m_extras.push_back(extra);
        }
        m_streams.resize(static_cast<std::size_t>(conf.nLayers));
    }

    NetPointer build(const std::string& path) const {
        WeightFileWriter writer;
        m_base.addTo(writer);
        for (std::size_t l = 0; l < m_extras.size(); ++l) {
            const std::string prefix = m_conf.name + "_l" + std::to_string(l);
            writer.add(prefix + "_cond_tanh", m_extras[l].cond[0].tensors());
            writer.add(prefix + "_cond_sigmoid", m_extras[l].cond[1].tensors());
            writer.add(prefix + "_state_wn_tanh", m_extras[l].state[0].tensors());
            writer.add(prefix + "_state_wn_sigmoid", m_extras[l].state[1].tensors());
            writer.add(prefix + "_res_1x1", m_extras[l].res1x1.tensors());
        }
        writer.save(path);
        T_WN2_conf conf = m_conf;
        conf.file = path;
        return NetPointer(wavenet2_init(conf));
    }

    Frame step(const std::vector<float>& in, const std::vector<float>& cond, const std::vector<float>& state) {
        m_inputs.emplace_back(in.begin(), in.end());
        const int now = static_cast<int>(m_inputs.size()) - 1;
        Frame x = convolveAt(m_inputs, now, m_base.initial, 1);
        if (m_conf.tanhInitial)
            for (double& v : x) v = std::tanh(v);
        Frame sum(static_cast<std::size_t>(m_conf.nSkip), 0.0);
        for (int l = 0; l < m_conf.nLayers; ++l) {
            const NaiveWaveNet::Layer& layer = m_base.layers[static_cast<std::size_t>(l)];
            const Extra& extra = m_extras[static_cast<std::size_t>(l)];
            Signal& stream = m_streams[static_cast<std::size_t>(l)];
            stream.push_back(x);
            Frame branches[2] = {convolveAt(stream, now, layer.filter, layer.dilation),
                                 convolveAt(stream, now, layer.gate, layer.dilation)};
            for (int b = 0; b < 2; ++b) {
                if (m_conf.nCond > 0) add(branches[b], convolveAt({{cond.begin(), cond.end()}}, 0, extra.cond[b], 1));
                if (m_conf.nState > 0) add(branches[b], convolveAt({{state.begin(), state.end()}}, 0, extra.state[b], 1));
            }
            Frame gated(x.size());
            for (std::size_t i = 0; i < x.size(); ++i)
                gated[i] = std::tanh(branches[0][i]) / (1.0 + std::exp(-branches[1][i]));
            if (l >= m_conf.firstSkipLayer) add(sum, convolveAt({gated}, 0, layer.skip, 1));
            Frame change = gated;
            if (m_conf.resOneByOne) {
                change = convolveAt({gated}, 0, extra.res1x1, 1);
                if (m_conf.tanhResidual)
                    for (double& v : change) v = std::tanh(v);
            }
            for (std::size_t i = 0; i < x.size(); ++i) x[i] = (change[i] + x[i]) * std::sqrt(0.5);
        }
        const int skipLayers = m_conf.nLayers - m_conf.firstSkipLayer;
        for (std::size_t i = 0; i < sum.size(); ++i) {
            if (m_conf.meanSkip) sum[i] /= skipLayers;
            sum[i] += m_base.skipBias[i];
        }
        return sum;
    }

private:
    struct Extra {
        NaiveKernel cond[2], state[2], res1x1;
    };
    static void add(Frame& to, const Frame& what) {
        for (std::size_t i = 0; i < to.size(); ++i) to[i] += what[i];
    }

    T_WN2_conf m_conf;
    NaiveWaveNet m_base;
    std::vector<Extra> m_extras;
    Signal m_inputs;
    std::vector<Signal> m_streams;
};

struct CausalRow {
    int initialKernel, kernel, cycle, layers, firstSkip, nCond, nState;
    bool meanSkip, tanhInitial, oneByOne, tanhResidual;
};

T_WN2_conf causalConf(const CausalRow& row) {
    T_WN2_conf conf;
    conf.name = "N";
    conf.nInputs = 5;
    conf.nCond = row.nCond;
    conf.nState = row.nState;
    conf.initialKernel = row.initialKernel;
    conf.kernel = row.kernel;
    conf.dilationCycle = row.cycle;
    conf.nLayers = row.layers;
    conf.firstSkipLayer = row.firstSkip;
    conf.nResidual = 7;
    conf.nSkip = 6;
    conf.meanSkip = row.meanSkip;
    conf.tanhInitial = row.tanhInitial;
    conf.resOneByOne = row.oneByOne;
    conf.tanhResidual = row.tanhResidual;
    return conf;
}

TEST(WaveNet2Causal, MatchesTheDefinitionWithEveryPart) {
    const CausalRow rows[] = {
        {1, 3, 2, 3, 0, 0, 0, true, false, false, false}, {3, 2, 3, 4, 1, 3, 0, true, true, false, false},
        {1, 2, 2, 3, 0, 4, 9, false, false, true, false}, {2, 3, 2, 3, 2, 0, 2, true, false, true, true},
        {1, 3, 1, 1, 0, 3, 3, true, false, true, true},   {1, 2, 2, 2, 2, 0, 0, false, false, false, false},
    };
    Random random(81);
    const TemporaryFolder folder;
    for (std::size_t r = 0; r < std::size(rows); ++r) {
        SCOPED_TRACE(testing::Message() << "row " << r);
        NaiveCausalNet naive(causalConf(rows[r]), random);
        const NetPointer net = naive.build(folder.file("weights"));
        long allocations = 0;
        for (int t = 0; t < 25; ++t) {
            std::vector<float> in = random.values(5), cond = random.values(rows[r].nCond),
                               state = random.values(rows[r].nState);
            const AllocationCounter counter;
            wavenet2_step(in.data(), rows[r].nCond > 0 ? cond.data() : nullptr,
                          rows[r].nState > 0 ? state.data() : nullptr, net.get());
            allocations += counter.allocations();
            const Frame expected = naive.step(in, cond, state);
            for (int i = 0; i < 6; ++i)
                ASSERT_NEAR(net->skipSum[i], expected[static_cast<std::size_t>(i)], 1e-5) << "frame " << t;
        }
        EXPECT_EQ(allocations, 0);
        EXPECT_EQ(net->layers[0].skipDelay, nullptr) << "delay lines are the streaming step's";
    }
}

// With one layer there is nothing to align; with kernels of one tap nothing to look ahead to.
TEST(WaveNet2Causal, AgreesWithTheStreamingStepWhereNothingLooksAhead) {
    const struct {
        int kernel, layers;
        bool same;
    } rows[] = {{3, 1, true}, {1, 3, true}, {3, 2, false}, {2, 3, false}};
    Random random(82);
    const TemporaryFolder folder;
    for (const auto& row : rows) {
        const NaiveCausalNet naive(causalConf({1, row.kernel, 2, row.layers, 0, 0, 0, true, false, false, false}), random);
        const NetPointer causal = naive.build(folder.file("weights")), streaming = naive.build(folder.file("weights"));
        double largest = 0.0;
        for (int t = 0; t < 20; ++t) {
            std::vector<float> in = random.values(5);
            wavenet2_step(in.data(), nullptr, nullptr, causal.get());
            wavenet2_step_noncausal(in.data(), streaming.get(), t, nullptr);
            for (int i = 0; i < 6; ++i)
                largest = std::max(largest, std::fabs(static_cast<double>(causal->skipSum[i]) - streaming->skipSum[i]));
        }
        if (row.same)
            EXPECT_EQ(largest, 0.0) << "kernel " << row.kernel << ", layers " << row.layers;
        else
            EXPECT_GT(largest, 0.01) << "kernel " << row.kernel << ", layers " << row.layers;
    }
}

TEST(WaveNet2Causal, TheSequenceFormMovesTheStateAndReturnsZeros) {
    Random random(83);
    const TemporaryFolder folder;
    NaiveCausalNet naive(causalConf({2, 3, 2, 3, 0, 4, 0, true, false, false, false}), random);
    const NetPointer net = naive.build(folder.file("weights")), single = naive.build(folder.file("weights"));
    const Frames in = randomFrames(random, 4, 5);
    Frames cond = randomFrames(random, 4, 4), out(9, std::vector<float>(2, 7.0f));
    wavenet2_process_causal(in, &cond, out, net.get());
    EXPECT_EQ(out, Frames(4, std::vector<float>(6, 0.0f)));
    for (std::size_t t = 0; t < 4; ++t) {
        std::vector<float> frame = in[t];
        wavenet2_step(frame.data(), cond[t].data(), nullptr, single.get());
    }
    for (int i = 0; i < 6; ++i) EXPECT_EQ(net->skipSum[i], single->skipSum[i]);
    EXPECT_EQ(net->layers[1].histIndex, single->layers[1].histIndex);
    wavenet2_process_causal({}, &cond, out, net.get());
    EXPECT_TRUE(out.empty());
}

TEST(WaveNet2Sequences, ConvolutionsClampAtTheStartAndAreEmptyAtTheEnd) {
    Random random(84);
    const int n = 10;
    const Frames in = randomFrames(random, n, 3);
    const Signal signal = [&] {
        Signal s;
        for (const auto& frame : in) s.emplace_back(frame.begin(), frame.end());
        return s;
    }();
    const NaiveKernel kernel = randomKernel(random, 3, 3, 4, true);
    std::vector<float> rows = kernel.rows(), bias = kernel.bias;
    Frames out(3, std::vector<float>(1, 5.0f));
    WN2_conv1D_process_noncausal(in, out, 2, 3, rows.data(), bias.data(), 3, 4);
    ASSERT_EQ(out.size(), 10u);
    for (int u = 0; u < n; ++u)
        for (int o = 0; o < 4; ++o) {
            double expected = 0.0;
            if (u < 8) {
                expected = kernel.bias[static_cast<std::size_t>(o)];
                for (int i = 0; i < 3; ++i)
                    for (int k = 0; k < 3; ++k)
                        expected += kernel.at(k, i, o) * signal[static_cast<std::size_t>(std::max(u + 2 - 2 * k, 0))]
                                                               [static_cast<std::size_t>(i)];
            }
            EXPECT_NEAR(out[static_cast<std::size_t>(u)][static_cast<std::size_t>(o)], expected, 1e-5)
                << "frame " << u << ", output " << o;
        }
    WN2_conv1D_process_noncausal({}, out, 2, 3, rows.data(), bias.data(), 3, 4);
    EXPECT_TRUE(out.empty());
}

TEST(WaveNet2Sequences, ARingStartsAnywhereAndClampsAtItsOwnFirstFrame) {
    // Kernel 3, dilation 1, start 2 of 4: output 0 sees the logical frames 1, 0 and 0, stored at 3, 2 and 2.
    float weights[3] = {100.0f, 10.0f, 1.0f};
    const Frames ring = {{1.0f}, {2.0f}, {3.0f}, {4.0f}};
    Frames out;
    WN2_conv1D_process_noncausal_circular(ring, 2, out, 1, 3, weights, nullptr, 1, 1);
    EXPECT_EQ(out, (Frames{{433.0f}, {143.0f}, {214.0f}, {0.0f}}));
    float one = 1.0f;
    WN2_conv1D_process_noncausal_circular({{0.0f}, {1.0f}, {2.0f}, {3.0f}, {4.0f}}, 3, out, 1, 1, &one, nullptr, 1, 1);
    EXPECT_EQ(out, (Frames{{3.0f}, {4.0f}, {0.0f}, {1.0f}, {2.0f}}));
    // Outside the ring: around it.
    WN2_conv1D_process_noncausal_circular(ring, -2, out, 1, 3, weights, nullptr, 1, 1);
    EXPECT_EQ(out[0][0], 433.0f);
    WN2_conv1D_process_noncausal_circular({}, 2, out, 1, 3, weights, nullptr, 1, 1);
    EXPECT_TRUE(out.empty());

    // The network: the ring's order at its input, an ordinary sequence from there on.
    Random random(85);
    const TemporaryFolder folder;
    NaiveCausalNet naive(causalConf({3, 3, 2, 3, 0, 0, 0, true, true, false, false}), random);
    const NetPointer net = naive.build(folder.file("weights"));
    const Frames in = randomFrames(random, 11, 5);
    Frames turned(in), linear, circular;
    std::rotate(turned.begin(), turned.begin() + 4, turned.end());
    wavenet2_process_noncausal(turned, nullptr, linear, net.get(), false);
    wavenet2_process_noncausal_circular(in, 4, nullptr, circular, net.get(), false);
    EXPECT_EQ(circular, linear);
    wavenet2_process_noncausal(in, nullptr, linear, net.get(), false);
    EXPECT_NE(circular, linear);
}

TEST(WaveNet2Sequences, TheOfflineFormMatchesItsDefinitionAndDumpsItsSteps) {
    Random random(86);
    const TemporaryFolder folder;
    T_WN2_conf conf = causalConf({3, 3, 2, 2, 0, 0, 0, true, true, false, false});
    const NaiveWaveNet naive(conf, random, true);
    WeightFileWriter writer;
    naive.addTo(writer);
    conf.file = folder.file("weights");
    writer.save(conf.file);
    const NetPointer net(wavenet2_init(conf));
    const Frames in = randomFrames(random, 12, 5);

    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
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

    const Signal expected = naive.process([&] {
        Signal s;
        for (const auto& frame : in) s.emplace_back(frame.begin(), frame.end());
        return s;
    }());
    for (std::size_t t = 0; t < 12; ++t)
        for (std::size_t i = 0; i < 6; ++i) EXPECT_NEAR(out[t][i], expected[t][i], 1e-5) << "frame " << t;

    ASSERT_EQ(dumps.size(), 6u);
    EXPECT_EQ(dumps.count("_N__WN_DILCONVOUT1.bin") + dumps.count("_N__WN_LAYEROUT1.bin"), 2u);
    EXPECT_EQ(dumps["_N__WN_SKIPSUM.bin"], out);
    // Before the tanh of the initial convolution: values beyond 1 are left.
    Frames initial;
    WN2_conv1D_process_noncausal(in, initial, 1, 3, net->initialW, net->initialB, 5, 7);
    EXPECT_EQ(dumps["_N__WN_INITIAL_CONV.bin"], initial);
    // The residual of the same frame.
    for (std::size_t t = 0; t < 12; ++t)
        for (std::size_t i = 0; i < 7; ++i)
            EXPECT_NEAR(dumps["_N__WN_LAYEROUT0.bin"][t][i],
                        (std::tanh(initial[t][i]) + dumps["_N__WN_DILCONVOUT0.bin"][t][i]) * 0.70710677f, 1e-6);
}

TEST(WaveNet2Sequences, TheDriverRunsCausallyAndKeepsOfflineResultsToItself) {
    Random random(87);
    const TemporaryFolder folder;
    NaiveCausalNet naive(causalConf({1, 3, 2, 3, 0, 0, 0, true, false, false, false}), random);
    naive.build(folder.file("weights"));
    const auto drive = [&](Frames* out, bool causal) {
        wavenet2_process(randomFrames(random, 5, 5), out, {}, "N", folder.file("weights"), 5, 0, 3, 2, 1, 3, 7, 6, true,
                         0, false, false, causal);
    };
    Frames out = {{1.0f}};
    CapturedStdout printed;
    drive(&out, false);
    EXPECT_EQ(out, Frames({{1.0f}}));
    drive(&out, true);
    EXPECT_EQ(out, Frames(5, std::vector<float>(6, 0.0f)));
    EXPECT_EQ(printed.text(), "") << "every layer was found";
}

}  // namespace
}  // namespace KaTessel::tests
