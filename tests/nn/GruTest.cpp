// The recurrent units against their equations in double precision.
#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/Globals.h"
#include "katessel/Gru.h"
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

struct NaiveGru {
    NaiveGru(Random& random, int nInputs, int nCond, int nHidden, bool withBiases)
        : input(randomKernel(random, 1, nInputs, 3 * nHidden, withBiases)),
          cond(randomKernel(random, 1, nCond, 3 * nHidden, withBiases)),
          recurrent(randomKernel(random, 1, nHidden, 3 * nHidden, withBiases)), state(nHidden, 0.0) {}

    void addTo(WeightFileWriter& writer, const std::string& name) const {
        writer.add(name + "_R", recurrent.tensors());
        if (cond.nIn > 0) writer.add(name + "_cI", cond.tensors());
        writer.add(name + "_xI", input.tensors());
    }

    static double sigmoid(double v) { return v < -40.0 ? 0.0 : 1.0 / (1.0 + std::exp(-v)); }

    // `c` may be null: no conditioning.
    const Frame& step(const std::vector<float>& x, const std::vector<float>* c) {
        const std::size_t H = state.size();
        Frame in = convolveAt({Frame(x.begin(), x.end())}, 0, input, 1);
        if (c != nullptr) {
            const Frame more = convolveAt({Frame(c->begin(), c->end())}, 0, cond, 1);
            for (std::size_t i = 0; i < 3 * H; ++i) in[i] += more[i];
        }
        const Frame back = convolveAt({state}, 0, recurrent, 1);
        for (std::size_t i = 0; i < H; ++i) {
            const double z = sigmoid(in[i] + back[i]), r = sigmoid(in[H + i] + back[H + i]);
            const double candidate = std::tanh(in[2 * H + i] + r * back[2 * H + i]);
            state[i] = (1.0 - z) * candidate + z * state[i];
        }
        return state;
    }

    NaiveKernel input, cond, recurrent;
    Frame state;
};

T_GRU_conf shape(int nInputs, int nCond, int nHidden, const std::string& name, const std::string& file) {
    T_GRU_conf conf;
    conf.nInputs = nInputs;
    conf.nCond = nCond;
    conf.nHidden = nHidden;
    conf.name = name;
    conf.file = file;
    return conf;
}

TEST(Gru, FollowsTheEquationsOver1000Frames) {
    struct Row {
        int nInputs, nCond, nHidden;
        bool biases, conditioned;
    };
    const Row rows[] = {
        {5, 0, 4, true, false}, {7, 3, 33, true, true},    {12, 40, 16, false, true},
        {1, 0, 1, true, false}, {70, 2, 24, false, false}, {3, 2, 5, true, false},  // no conditioning frame passed
    };
    Random random(201);
    const TemporaryFolder folder;
    for (const Row& row : rows) {
        const std::string where = std::to_string(row.nInputs) + " + " + std::to_string(row.nCond) + " to " +
                                  std::to_string(row.nHidden) + (row.conditioned ? ", conditioned" : "");
        NaiveGru naive(random, row.nInputs, row.nCond, row.nHidden, row.biases);
        // A recurrent row adds up to about one: the unit forgets, so that errors of many frames do not add up.
        for (float& w : naive.recurrent.stored) w *= 1.0f / std::sqrt(static_cast<float>(row.nHidden));
        WeightFileWriter writer;
        naive.addTo(writer, "unit");
        writer.save(folder.file("weights"));

        T_GRU_conf conf = shape(row.nInputs, row.nCond, row.nHidden, "unit", folder.file("weights"));
        std::vector<float> first = random.values(row.nHidden);
        std::copy(first.begin(), first.end(), naive.state.begin());
        conf.initialState = first.data();
        conf.randomInitialState = true;  // the given state goes first
        T_GRU* g = gru_init(conf);
        std::fill(first.begin(), first.end(), 9.0f);  // copied, not kept
        GuardedBuffer state(std::vector<float>(g->state, g->state + row.nHidden)), gates(2 * row.nHidden);
        GuardedBuffer candidate(row.nHidden);
        float* const own[] = {std::exchange(g->state, state.data()), std::exchange(g->gates, gates.data()),
                              std::exchange(g->candidate, candidate.data())};
        for (int t = 0; t < 1000; ++t) {
            const std::vector<float> x = random.values(row.nInputs, -2.0f, 2.0f), c = random.values(row.nCond);
            FencedInput fencedX(x), fencedC(c);
            const AllocationCounter counter;
            gru_step(fencedX.data(), row.conditioned ? fencedC.data() : nullptr, g);
            ASSERT_EQ(counter.allocations(), 0);
            const Frame& expected = naive.step(x, row.conditioned ? &c : nullptr);
            // A step adds the rounding of sums of up to 94 products that together are about 1.
            for (int i = 0; i < row.nHidden; ++i)
                ASSERT_NEAR(g->state[i], expected[static_cast<std::size_t>(i)], 2e-6) << where << ", frame " << t;
        }
        EXPECT_TRUE(state.intact() && gates.intact() && candidate.intact()) << where;
        g->state = own[0];
        g->gates = own[1];
        g->candidate = own[2];
        gru_free(g);
    }
    gru_free(nullptr);
}

// One value, no weights, only biases: every gate alone.
TEST(Gru, GatesOneByOne) {
    struct Row {
        const char* what;
        std::vector<float> input, recurrent;  // biases of z, r and n
        float before, after;
    };
    const float half = std::tanh(0.5f);
    const Row rows[] = {
        {"update gate off: the candidate", {-41, 0, 0.5f}, {0, 0, 0}, 0.7f, half},
        {"update gate on: the state", {50, 0, 0.5f}, {0, 0, 0}, 0.7f, 0.7f},
        {"update gate from the recurrent share", {-20, 0, 0.5f}, {-21, 0, 0}, 0.7f, half},
        {"reset gate off: no recurrent share in the candidate", {-50, -41, 0.5f}, {0, 0, 3}, 0.7f, half},
        {"reset gate on: all of it", {-50, 50, 0.25f}, {0, 0, 0.25f}, 0.7f, half},
        {"all zero: half of the state", {0, 0, 0}, {0, 0, 0}, 0.7f, 0.35f},
    };
    const TemporaryFolder folder;
    for (const Row& row : rows) {
        WeightFileWriter()
            .add("unit_xI", {constantTensor({1, 3}, 0.0f), {{3}, row.input}})
            .add("unit_R", {constantTensor({1, 3}, 0.0f), {{3}, row.recurrent}})
            .save(folder.file("weights"));
        T_GRU_conf conf = shape(1, 0, 1, "unit", folder.file("weights"));
        float before = row.before, x = 1.0f;
        conf.initialState = &before;
        T_GRU* g = gru_init(conf);
        gru_step(&x, nullptr, g);
        EXPECT_NEAR(g->state[0], row.after, 2e-7) << row.what;
        // Off is exactly 0, not merely small: then the state is the candidate.
        for (int gate = 0; gate < 2; ++gate)
            if (row.input[gate] + row.recurrent[gate] < -40.0f) {
                EXPECT_EQ(g->gates[gate], 0.0f) << row.what;
            }
        gru_free(g);
    }
}

TEST(PlainGru, MissingLayersAreReportedAndEverythingIsReleased) {
    for (int nCond : {0, 2}) {
        CapturedStdout captured;
        T_GRU* g = gru_init(shape(3, nCond, 4, "unit", "/nonexistent"));
        const std::string cond = nCond > 0 ? "WARNING: unit_cI not loaded!\n" : "";
        EXPECT_EQ(captured.text(), "WARNING: unit_xI not loaded!\n" + cond + "WARNING: unit_R not loaded!\n");
        EXPECT_EQ(g->condW != nullptr, nCond > 0);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(g->state[i], 0.0f);
        const AllocationCounter counter;
        gru_free(g);
        EXPECT_EQ(counter.releases(), nCond > 0 ? 12 : 10);  // the record, five arrays, two for every matrix
    }
}

TEST(PlainGru, RandomStatesFollowTheEngine) {
    const std::default_random_engine before = generator_;
    generator_.seed(77);
    std::default_random_engine engine(77);
    for (int H : {1, 3, 8, 0, 5}) {  // after an odd number the other value of the pair is not used
        T_GRU_conf conf = shape(2, 0, H, "unit", "/nonexistent");
        conf.randomInitialState = true;
        CapturedStdout captured;
        T_GRU* g = gru_init(conf);
        captured.text();
        std::normal_distribution<double> normal;
        for (int i = 0; i < H; ++i)
            EXPECT_EQ(g->state[i], static_cast<float>(normal(engine) * static_cast<double>(0.005f))) << H << ", " << i;
        gru_free(g);
    }
    EXPECT_EQ(generator_, engine);
    generator_ = before;
}

struct NaivePair {
    NaivePair(Random& random, int nInputs, int nCond, int nHidden)
        : forward(random, nInputs, nCond, nHidden, true), backward(random, nInputs, nCond, nHidden, true),
          forwardFirst(random.values(nHidden)), backwardFirst(random.values(nHidden)) {
        restart();
    }

    void restart() {
        forward.state.assign(forwardFirst.begin(), forwardFirst.end());
        backward.state.assign(backwardFirst.begin(), backwardFirst.end());
    }

    void save(const std::string& name, const std::string& path) const {
        const int H = static_cast<int>(forwardFirst.size());
        WeightFileWriter writer;
        forward.addTo(writer, name + "_f");
        backward.addTo(writer, name + "_b");
        writer.add(name + "_f_h", {{{H}, forwardFirst}}).add(name + "_b_h", {{{H}, backwardFirst}}).save(path);
    }

    Signal process(const Frames& in, const Frames* cond) {
        const std::size_t N = in.size();
        Signal out(N);
        for (std::size_t t = 0; t < N; ++t) out[t] = forward.step(in[t], cond != nullptr ? &(*cond)[t] : nullptr);
        for (std::size_t t = N; t-- > 0;) {
            const Frame& state = backward.step(in[t], cond != nullptr ? &(*cond)[t] : nullptr);
            out[t].insert(out[t].end(), state.begin(), state.end());
        }
        return out;
    }

    NaiveGru forward, backward;
    std::vector<float> forwardFirst, backwardFirst;
};

void expectFrames(const Frames& out, const Signal& expected, const std::string& where) {
    ASSERT_EQ(out.size(), expected.size()) << where;
    for (std::size_t t = 0; t < out.size(); ++t) {
        ASSERT_EQ(out[t].size(), expected[t].size()) << where;
        for (std::size_t i = 0; i < out[t].size(); ++i)
            ASSERT_NEAR(out[t][i], expected[t][i], 4e-6) << where << ", frame " << t << ", value " << i;
    }
}

TEST(BidirectionalGru, ReadsFromBothEndsAndContinues) {
    const int nInputs = 6, nCond = 3, H = 5;
    Random random(202);
    const TemporaryFolder folder;
    for (const bool conditioned : {true, false}) {
        NaivePair naive(random, nInputs, conditioned ? nCond : 0, H);
        naive.save("pair", folder.file("weights"));
        T_BGRU_conf conf;
        conf.nInputs = nInputs;
        conf.nCond = conditioned ? nCond : 0;
        conf.nHidden = H;
        conf.name = "pair";
        conf.file = folder.file("weights");
        T_BGRU* b = bgru_init(conf);
        Frames out(3, std::vector<float>(40, 7.0f));  // more and longer frames than wanted at first
        for (int frames : {1, 0, 2, 9, 4}) {
            const std::string where = std::to_string(frames) + " frames" + (conditioned ? ", conditioned" : "");
            Frames in, cond;
            for (int t = 0; t < frames; ++t) {
                in.push_back(random.values(nInputs));
                cond.push_back(random.values(nCond));
            }
            Frames* const given = conditioned ? &cond : nullptr;
            bgru_process(&in, given, out, b);
            expectFrames(out, naive.process(in, given), where);
            if (HasFatalFailure()) return;

            // By name every call starts anew.
            NaivePair fresh = naive;
            fresh.restart();
            Frames again;
            bgru_process(in, given, again, "pair", conf.file, nInputs, conf.nCond, H);
            expectFrames(again, fresh.process(in, given), where + ", by name");
            if (HasFatalFailure()) return;
        }
        bgru_free(b);
    }
    bgru_free(nullptr);
}

TEST(PlainBidirectionalGru, MissingLayersAreReportedAndEverythingIsReleased) {
    T_BGRU_conf conf;
    conf.nInputs = 2;
    conf.nHidden = 3;
    conf.name = "pair";
    conf.file = "/nonexistent";
    CapturedStdout captured;
    T_BGRU* b = bgru_init(conf);
    std::string expected;
    for (const char* layer : {"f_h", "b_h", "f_xI", "f_R", "b_xI", "b_R"})
        expected += std::string("WARNING: pair_") + layer + " not loaded!\n";
    EXPECT_EQ(captured.text(), expected);
    const AllocationCounter counter;
    bgru_free(b);
    EXPECT_EQ(counter.releases(), 3 + 2 * 10);
}

}  // namespace
}  // namespace KaTessel::tests
