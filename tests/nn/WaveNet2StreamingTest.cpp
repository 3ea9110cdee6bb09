// The streaming step against the network written out with whole histories.
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/Globals.h"
#include "katessel/WaveNet2.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/NaiveLayers.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

using Dump = std::vector<std::vector<std::vector<float>>>;

struct Release {
    void operator()(T_WN2* net) const { wavenet2_free(net); }
};
using NetPointer = std::unique_ptr<T_WN2, Release>;

// nLayers layers of R channels, S outputs, all switches off.
T_WN2_conf shape(int nInputs, int kernel, int dilationCycle, int nLayers, int R, int S) {
    T_WN2_conf conf;
    conf.nInputs = nInputs;
    conf.initialKernel = 1;
    conf.kernel = kernel;
    conf.dilationCycle = dilationCycle;
    conf.nLayers = nLayers;
    conf.nResidual = R;
    conf.nSkip = S;
    conf.name = "N";
    return conf;
}

T_WN2_conf encoderShape() {
    T_WN2_conf conf = shape(150, 3, 2, 3, 70, 120);
    conf.meanSkip = true;
    return conf;
}

NetPointer build(const NaiveWaveNet& naive, T_WN2_conf conf) {
    const TemporaryFolder folder;
    conf.file = folder.file("weights");
    WeightFileWriter writer;
    naive.addTo(writer);
    writer.save(conf.file);
    return NetPointer(wavenet2_init(conf));
}

std::vector<T_WN2_conf> shapes() {
    std::vector<T_WN2_conf> all = {encoderShape(), shape(4, 2, 3, 4, 9, 6), shape(3, 3, 2, 3, 5, 17),
                                   shape(6, 2, 1, 1, 8, 3), shape(6, 5, 2, 2, 3, 1), shape(5, 1, 2, 3, 4, 4),
                                   shape(5, 3, 2, 0, 4, 4), shape(2, 2, 24, 3, 3, 2)};
    // The switches, one after the other, on the second and third shapes, then all that go together.
    for (int base : {1, 2}) {
        const T_WN2_conf plain = all[static_cast<std::size_t>(base)];
        T_WN2_conf conf = plain;
        conf.firstSkipLayer = 1;
        all.push_back(conf);
        conf.firstSkipLayer = 2;
        conf.meanSkip = true;
        all.push_back(conf);
        conf = plain;
        conf.firstSkipLayer = conf.nLayers;
        all.push_back(conf);
        conf = plain;
        conf.tanhInitial = true;
        all.push_back(conf);
        conf = plain;
        conf.initialKernel = 3;
        all.push_back(conf);
        conf = plain;
        conf.inputMultiplicity = 2;
        all.push_back(conf);
        conf.inputMultiplicity = 3;
        all.push_back(conf);
        conf.inputMultiplicity = 0;
        all.push_back(conf);
        conf = plain;
        conf.initialKernel = 4;
        conf.tanhInitial = true;
        conf.meanSkip = true;
        conf.firstSkipLayer = 1;
        all.push_back(conf);
    }
    return all;
}

TEST(WaveNet2Streaming, MatchesTheWholeHistoryReference) {
    Random random(61);
    int number = 0;
    for (const T_WN2_conf& conf : shapes()) {
        for (bool withBiases : {true, false}) {
            NaiveWaveNet naive(conf, random, withBiases);
            const NetPointer net = build(naive, conf);
            ASSERT_EQ(net->skipBias != nullptr, withBiases);
            Dump dump(static_cast<std::size_t>(conf.nLayers));
            for (int t = 0; t < 40; ++t) {
                std::vector<float> in = random.values(conf.nInputs);
                const std::vector<float> before = in;
                const Frame expected = naive.step(in);
                wavenet2_step_noncausal(in.data(), net.get(), -1000, t % 2 == 0 ? &dump : nullptr);
                ASSERT_EQ(in, before);
                // Rounding of sums of up to 210 products of size 1 / 10, passed on through a few layers.
                for (int i = 0; i < conf.nSkip; ++i)
                    ASSERT_NEAR(net->skipSum[i], expected[i], 2e-5)
                        << "shape " << number << (withBiases ? "" : " without biases") << ", call " << t << ", " << i;
            }
            // Every second call was dumped.
            for (int l = 0; l < conf.nLayers; ++l) {
                ASSERT_EQ(dump[l].size(), 20u);
                for (int c = 0; c < 20; ++c) {
                    ASSERT_EQ(dump[l][c].size(), static_cast<std::size_t>(conf.nResidual));
                    for (int i = 0; i < conf.nResidual; ++i)
                        ASSERT_NEAR(dump[l][c][i], naive.layers[l].gated[2 * c][i], 2e-5)
                            << "shape " << number << ", layer " << l << ", call " << 2 * c;
                }
            }
        }
        ++number;
    }
}

// When the skip outputs of each layer alone arrive: an impulse moves through the encoder from call 0 to call 8.
TEST(WaveNet2Streaming, ImpulseThroughTheEncoder) {
    struct Row {
        int layer;  // the only one whose skip output counts; -1: all
        int first, last;
    };
    for (const Row& row : {Row{-1, 0, 8}, Row{0, 5, 7}, Row{1, 1, 7}, Row{2, 0, 8}}) {
        const T_WN2_conf conf = encoderShape();
        Random random(62);
        NaiveWaveNet naive(conf, random, true);
        for (int l = 0; l < 3; ++l)
            if (row.layer >= 0 && l != row.layer)
                std::fill(naive.layers[l].skip.stored.begin(), naive.layers[l].skip.stored.end(), 0.0f);
        const NetPointer quiet = build(naive, conf), struck = build(naive, conf);
        std::vector<float> silence(150, 0.0f), impulse = random.values(150);
        const int before = 30;
        int first = -1, last = -1;
        for (int t = 0; t < before + 25; ++t) {
            wavenet2_step_noncausal(silence.data(), quiet.get(), 0, nullptr);
            wavenet2_step_noncausal(t == before ? impulse.data() : silence.data(), struck.get(), 0, nullptr);
            if (std::equal(quiet->skipSum, quiet->skipSum + 120, struck->skipSum)) continue;
            if (first < 0) first = t - before;
            last = t - before;
        }
        EXPECT_EQ(first, row.first) << "layer " << row.layer;
        EXPECT_EQ(last, row.last) << "layer " << row.layer;
    }
}

TEST(WaveNet2Streaming, DelayLinesAreMadeOnceAndNothingElseIsAllocated) {
    {
        // The counter counts.
        const AllocationCounter counter;
        void* kept = ::operator new(8);
        ::operator delete(::operator new(8));
        const long allocations = counter.allocations(), releases = counter.releases();
        ::operator delete(kept);
        EXPECT_EQ(allocations, 2);
        EXPECT_EQ(releases, 1);
    }
    T_WN2_conf single = shape(6, 3, 1, 1, 8, 3);
    T_WN2_conf late = encoderShape();
    late.firstSkipLayer = 1;  // layers before it have their line all the same
    late.initialKernel = 3;
    for (const T_WN2_conf& conf : {encoderShape(), late, single}) {
        Random random(63);
        const NaiveWaveNet naive(conf, random, true);
        std::vector<float> in = random.values(conf.nInputs);
        const AllocationCounter life;
        NetPointer net = build(naive, conf);
        wavenet2_step_noncausal(in.data(), net.get(), -1000, nullptr);
        if (conf.nLayers == 3) {
            const int sizes[] = {6 * 120, 2 * 120, 0};
            for (int l = 0; l < 3; ++l) EXPECT_EQ(net->layers[l].skipDelaySize, sizes[l]);
            EXPECT_NE(net->layers[0].skipDelay, nullptr);
        }
        EXPECT_EQ(net->layers[conf.nLayers - 1].skipDelay, nullptr);
        const AllocationCounter counter;
        for (int t = 0; t < 20; ++t) wavenet2_step_noncausal(in.data(), net.get(), -1000, nullptr);
        EXPECT_EQ(counter.allocations(), 0);
        net.reset();
        EXPECT_EQ(life.allocations(), life.releases());
    }
}

// Below -40 the gate is shut completely: what remains is the aligned input, scaled once per layer.
TEST(WaveNet2Streaming, ShutGatesPassTheAlignedInput) {
    const T_WN2_conf conf = shape(4, 3, 2, 2, 4, 2);
    Random random(64);
    NaiveWaveNet naive(conf, random, true);
    NaiveWaveNet::Layer& shut = naive.layers[0];
    std::fill(shut.gate.stored.begin(), shut.gate.stored.end(), 0.0f);
    std::fill(shut.gate.bias.begin(), shut.gate.bias.end(), -40.0001f);
    const NetPointer net = build(naive, conf);
    Dump dump(2);
    std::vector<std::vector<float>> residuals;
    for (int t = 0; t < 12; ++t) {
        std::vector<float> in = random.values(4);
        const T_WN2_layer &first = net->layers[0], &second = net->layers[1];
        const int firstAt = first.histIndex, secondAt = second.histIndex;
        wavenet2_step_noncausal(in.data(), net.get(), 0, &dump);
        residuals.emplace_back(first.hist + firstAt, first.hist + firstAt + 4);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(dump[0].back()[i], 0.0f);
            const float aligned = t < 2 ? 0.0f : residuals[t - 2][i];
            EXPECT_EQ(second.hist[secondAt + i], aligned * 0.70710677f) << t;
        }
    }
}

// A matrix that has no rows to spare is read from its start.
TEST(WaveNet2Streaming, MultiplicityOfOneStaysInsideTheMatrix) {
    T_WN2_conf conf = shape(4, 2, 1, 1, 5, 3);
    conf.inputMultiplicity = 1;
    Random random(65);
    NaiveWaveNet naive(conf, random, true);
    const NetPointer net = build(naive, conf);
    for (int t = 0; t < 5; ++t) {
        std::vector<float> in = random.values(4);
        const Frame expected = naive.step(in);
        wavenet2_step_noncausal(in.data(), net.get(), 0, nullptr);
        for (int i = 0; i < 3; ++i) EXPECT_NEAR(net->skipSum[i], expected[i], 1e-5);
    }
}

TEST(WaveNet2Streaming, TimeIsAddedOnlyWhileItIsMeasured) {
    const T_WN2_conf conf = encoderShape();
    Random random(66);
    const NaiveWaveNet naive(conf, random, true);
    const NetPointer net = build(naive, conf);
    std::vector<float> in = random.values(150);
    const auto run = [&] {
        const float before = wavenet2_step_dur_;
        const std::clock_t start = std::clock();
        for (int t = 0; t < 2000; ++t) wavenet2_step_noncausal(in.data(), net.get(), 0, nullptr);
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        return std::make_pair(wavenet2_step_dur_ - before, seconds);
    };
    const int usual = performance_analysis_;
    wavenet2_step_dur_ = 0.0f;
    performance_analysis_ = 0;
    EXPECT_EQ(run().first, 0.0f);
    performance_analysis_ = 1;
    const auto [measured, seconds] = run();
    performance_analysis_ = 0;
    // The steps are nearly all that the loop does; each start and end is cut to whole microseconds.
    EXPECT_GT(measured, 0.5 * seconds);
    EXPECT_LT(measured, 1.5 * seconds);
    EXPECT_EQ(run().first, 0.0f);
    performance_analysis_ = usual;
    wavenet2_step_dur_ = 0.0f;
}

}  // namespace
}  // namespace KaTessel::tests
