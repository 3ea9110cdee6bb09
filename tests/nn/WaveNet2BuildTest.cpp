// What wavenet2_init looks for.
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "nn/Networks.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"

namespace KaTessel::tests {
namespace {

// Everything that a file lacks is named once, in the order of loading; the rest of the network does not exist.
TEST(PlainWaveNet2Build, MissingLayersAreNamedAndReleased) {
    struct Row {
        Shape shape;
        std::vector<std::string> names;
    };
    const Row rows[] = {
        {{.layers = 2, .firstSkip = 1},
         {"_initial_causal_conv", "_l0_res_tanh", "_l0_res_sigmoid", "_l1_res_tanh", "_l1_res_sigmoid", "_l1_skip",
          "_skip_biases"}},
        {{.initialKernel = 3, .layers = 2, .nCond = 3, .nState = 2, .oneByOne = true},
         {"_initial_causal_conv", "_l0_res_tanh", "_l0_cond_tanh", "_l0_state_wn_tanh", "_l0_res_sigmoid",
          "_l0_cond_sigmoid", "_l0_state_wn_sigmoid", "_l0_skip", "_l0_res_1x1", "_l1_res_tanh", "_l1_cond_tanh",
          "_l1_state_wn_tanh", "_l1_res_sigmoid", "_l1_cond_sigmoid", "_l1_state_wn_sigmoid", "_l1_skip",
          "_skip_biases"}},
    };
    for (const Row& row : rows) {
        std::string expected;
        for (const std::string& name : row.names) expected += "WARNING: N" + name + " not loaded!\n";
        CapturedStdout captured;
        const AllocationCounter counter;
        T_WN2* net = wavenet2_init(row.shape.conf());
        EXPECT_EQ(net->layers[0].skipW != nullptr, row.shape.firstSkip == 0);
        EXPECT_EQ(net->layers[1].res1x1W, nullptr);
        EXPECT_EQ(net->initialHistSize, (row.shape.initialKernel - 1) * 5);
        wavenet2_free(net);
        EXPECT_EQ(counter.allocations(), counter.releases());
        EXPECT_EQ(captured.text(), expected);
    }
    wavenet2_free(nullptr);
}

}  // namespace
}  // namespace KaTessel::tests
