// The recurrent units against their equations in double precision.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/Gru.h"
#include "nn/Networks.h"
#include "support/AllocationCounter.h"
#include "support/GuardedBuffer.h"

namespace KaTessel::tests {
namespace {

struct NaiveGru {
    NaiveGru(Random& random, int nInputs, int nCond, int nHidden, bool withBiases)
        : input(randomKernel(random, 1, nInputs, 3 * nHidden, withBiases)),
          cond(randomKernel(random, 1, nCond, 3 * nHidden, withBiases)),
          recurrent(randomKernel(random, 1, nHidden, 3 * nHidden, withBiases)),
          state(static_cast<std::size_t>(nHidden), 0.0) {}

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

// For a unit, T_GRU_conf, or a pair, T_BGRU_conf.
template <class Conf>
Conf shape(const std::string& name, int nInputs, int nCond, int nHidden, const std::string& file) {
    Conf conf;
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
        {7, 3, 33, true, true},
        {12, 40, 16, false, true},
        {1, 0, 1, true, false},
        {3, 2, 5, true, false},  // no conditioning frame passed
    };
    Random random(201);
    const TemporaryFolder folder;
    for (const Row& row : rows) {
        const std::string where =
            std::to_string(row.nInputs) + " + " + std::to_string(row.nCond) + " to " + std::to_string(row.nHidden);
        NaiveGru naive(random, row.nInputs, row.nCond, row.nHidden, row.biases);
        // A recurrent row adds up to about one: the unit forgets, so that errors of many frames do not add up.
        for (float& w : naive.recurrent.stored) w *= 1.0f / std::sqrt(static_cast<float>(row.nHidden));
        WeightFileWriter writer;
        naive.addTo(writer, "unit");
        writer.save(folder.file("weights"));

        T_GRU_conf conf = shape<T_GRU_conf>("unit", row.nInputs, row.nCond, row.nHidden, folder.file("weights"));
        std::vector<float> first = random.values(row.nHidden);
        std::copy(first.begin(), first.end(), naive.state.begin());
        conf.initialState = first.data();
        conf.randomInitialState = true;  // the given state goes first
        T_GRU* g = gru_init(conf);
        std::fill(first.begin(), first.end(), 9.0f);  // copied, not kept
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
        gru_free(g);
    }
}

// Both halves of a pair, by definition.
struct NaiveHalves {
    Signal process(const Frames& in, const Frames* cond) {
        Signal out(in.size());
        for (std::size_t t = 0; t < in.size(); ++t)
            out[t] = forward.step(in[t], cond != nullptr ? &(*cond)[t] : nullptr);
        for (std::size_t t = in.size(); t-- > 0;) {
            const Frame& state = backward.step(in[t], cond != nullptr ? &(*cond)[t] : nullptr);
            out[t].insert(out[t].end(), state.begin(), state.end());
        }
        return out;
    }

    NaiveGru forward, backward;
};

TEST(BidirectionalGru, ReadsFromBothEndsAndContinues) {
    const int nInputs = 6, H = 5;
    Random random(202);
    const TemporaryFolder folder;
    for (const int nCond : {3, 0}) {
        NaiveHalves naive = {NaiveGru(random, nInputs, nCond, H, true), NaiveGru(random, nInputs, nCond, H, true)};
        const std::vector<float> forwardFirst = random.values(H), backwardFirst = random.values(H);
        naive.forward.state.assign(forwardFirst.begin(), forwardFirst.end());
        naive.backward.state.assign(backwardFirst.begin(), backwardFirst.end());
        const NaiveHalves anew = naive;
        WeightFileWriter writer;
        naive.forward.addTo(writer, "pair_f");
        naive.backward.addTo(writer, "pair_b");
        writer.add("pair_f_h", {{{H}, forwardFirst}}).add("pair_b_h", {{{H}, backwardFirst}});
        const std::string path = folder.file("weights");
        writer.save(path);
        T_BGRU* b = bgru_init(shape<T_BGRU_conf>("pair", nInputs, nCond, H, path));
        Frames out(3, std::vector<float>(40, 7.0f));  // more and longer frames than wanted at first
        for (int frames : {1, 0, 2, 9}) {
            const std::string where = std::to_string(frames) + " frames, " + std::to_string(nCond) + " conditions";
            Frames in = randomFrames(random, frames, nInputs), cond = randomFrames(random, frames, nCond), again;
            Frames* const given = nCond > 0 ? &cond : nullptr;
            Frames none;  // as good as null where there is no conditioning
            bgru_process(&in, nCond > 0 ? &cond : &none, out, b);
            expectFrames(out, naive.process(in, given), 4e-6, where);
            // By name every call starts anew.
            bgru_process(in, given, again, "pair", path, nInputs, nCond, H);
            expectFrames(again, NaiveHalves(anew).process(in, given), 4e-6, where + ", by name");
            if (HasFatalFailure()) return;
        }
        bgru_free(b);
    }
}

}  // namespace
}  // namespace KaTessel::tests
