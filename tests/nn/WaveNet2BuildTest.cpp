// What wavenet2_init builds: which layers of the file end up where, and the sizes of everything.
#include <map>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/WaveNet2.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

T_WN2_conf fullShape(const std::string& file) {
    T_WN2_conf conf;
    conf.nInputs = 5;
    conf.nCond = 2;
    conf.nState = 6;
    conf.initialKernel = 2;
    conf.kernel = 3;
    conf.dilationCycle = 2;
    conf.nLayers = 3;
    conf.firstSkipLayer = 1;
    conf.nResidual = 4;
    conf.nSkip = 7;
    conf.meanSkip = true;
    conf.tanhResidual = false;
    conf.tanhInitial = true;
    conf.spareFlag = false;
    conf.resOneByOne = true;
    conf.inputMultiplicity = 2;
    conf.name = "NET";
    conf.file = file;
    return conf;
}

// Writes layers whose weights all have one value and whose biases have its negative, a different one per layer.
class ConstantLayers {
public:
    void add(const std::string& name, std::vector<int> dimensions) {
        m_values[name] = static_cast<float>(m_values.size() + 1);
        const int outputs = dimensions.back();
        m_writer.add(name, {constantTensor(dimensions, m_values[name]), constantTensor({outputs}, -m_values[name])});
        int n = 1;
        for (int d : dimensions) n *= d;
        m_sizes[name] = {n, outputs};
    }
    void addBias(const std::string& name, int n) {
        m_values[name] = static_cast<float>(m_values.size() + 1);
        m_writer.add(name, {constantTensor({n}, -m_values[name])});
        m_sizes[name] = {0, n};
    }
    void save(const std::string& path) const { m_writer.save(path); }

    void expect(const std::string& name, const float* weights, const float* bias) const {
        const float value = m_values.at(name);
        const auto [n, outputs] = m_sizes.at(name);
        ASSERT_TRUE(n == 0 || weights != nullptr) << name;
        ASSERT_NE(bias, nullptr) << name;
        for (int i = 0; i < n; ++i) ASSERT_EQ(weights[i], value) << name;
        for (int i = 0; i < outputs; ++i) ASSERT_EQ(bias[i], -value) << name;
    }

private:
    WeightFileWriter m_writer;
    std::map<std::string, float> m_values;
    std::map<std::string, std::pair<int, int>> m_sizes;
};

TEST(PlainWaveNet2Build, EveryPartComesFromItsLayer) {
    const TemporaryFolder folder;
    const T_WN2_conf conf = fullShape(folder.file("weights"));
    ConstantLayers file;
    file.addBias("NET_skip_biases", 7);
    for (int l = 2; l >= 0; --l) {
        const std::string prefix = "NET_l" + std::to_string(l);
        file.add(prefix + "_res_1x1", {4, 4});
        file.add(prefix + "_skip", {4, 7});
        file.add(prefix + "_state_wn_sigmoid", {6, 4});
        file.add(prefix + "_cond_sigmoid", {2, 4});
        file.add(prefix + "_res_sigmoid", {3, 4, 4});
        file.add(prefix + "_state_wn_tanh", {6, 4});
        file.add(prefix + "_cond_tanh", {2, 4});
        file.add(prefix + "_res_tanh", {3, 4, 4});
    }
    file.add("NET_initial_causal_conv", {2, 10, 4});
    file.save(conf.file);

    CapturedStdout captured;
    T_WN2* net = wavenet2_init(conf);
    EXPECT_EQ(captured.text(), "");
    file.expect("NET_initial_causal_conv", net->initialW, net->initialB);
    file.expect("NET_skip_biases", nullptr, net->skipBias);
    for (int l = 0; l < 3; ++l) {
        const std::string prefix = "NET_l" + std::to_string(l);
        const T_WN2_layer& layer = net->layers[l];
        file.expect(prefix + "_res_tanh", layer.resTanhW, layer.resTanhB);
        file.expect(prefix + "_cond_tanh", layer.condTanhW, layer.condTanhB);
        file.expect(prefix + "_state_wn_tanh", layer.stateTanhW, layer.stateTanhB);
        file.expect(prefix + "_res_sigmoid", layer.resSigmoidW, layer.resSigmoidB);
        file.expect(prefix + "_cond_sigmoid", layer.condSigmoidW, layer.condSigmoidB);
        file.expect(prefix + "_state_wn_sigmoid", layer.stateSigmoidW, layer.stateSigmoidB);
        if (l >= 1)
            file.expect(prefix + "_skip", layer.skipW, layer.skipB);
        else
            EXPECT_TRUE(layer.skipW == nullptr && layer.skipB == nullptr);
        if (l < 2)
            file.expect(prefix + "_res_1x1", layer.res1x1W, layer.res1x1B);
        else
            EXPECT_TRUE(layer.res1x1W == nullptr && layer.res1x1B == nullptr);
        // Zeroed state, as long as it says.
        EXPECT_EQ(layer.histSize, 2 * layer.dilation * 4);
        for (int i = 0; i < layer.histSize; ++i) EXPECT_EQ(layer.hist[i], 0.0f);
        for (int i = 0; i < 7; ++i) EXPECT_EQ(layer.skipOut[i], 0.0f);
        EXPECT_EQ(layer.histIndex, 0);
        EXPECT_EQ(layer.skipDelay, nullptr);
    }
    EXPECT_EQ(net->initialHistSize, 5);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(net->initialHist[i], 0.0f);
    for (const float* work : {net->resIn, net->tanhOut, net->sigmoidOut, net->gated, net->resOut, net->res1x1Out})
        for (int i = 0; i < 4; ++i) EXPECT_EQ(work[i], 0.0f);
    for (int i = 0; i < 7; ++i) EXPECT_EQ(net->skipSum[i], 0.0f);

    EXPECT_EQ(net->name, "NET");
    const int numbers[] = {net->nInputs, net->nCond, net->nState, net->initialKernel, net->kernel, net->dilationCycle,
                           net->nLayers, net->firstSkipLayer, net->nResidual, net->nSkip, net->inputMultiplicity};
    const int expectedNumbers[] = {5, 2, 6, 2, 3, 2, 3, 1, 4, 7, 2};
    for (int i = 0; i < 11; ++i) EXPECT_EQ(numbers[i], expectedNumbers[i]) << "number " << i;
    const bool flags[] = {net->meanSkip, net->tanhResidual, net->tanhInitial, net->spareFlag, net->resOneByOne};
    const bool expectedFlags[] = {true, false, true, false, true};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(flags[i], expectedFlags[i]) << "flag " << i;
    wavenet2_free(net);
    wavenet2_free(nullptr);
}

TEST(PlainWaveNet2Build, DilationsDoubleWithinACycle) {
    struct Row {
        int layers, cycle;
        std::vector<int> dilations;
    };
    const Row rows[] = {{3, 2, {1, 2, 1}},       {6, 3, {1, 2, 4, 1, 2, 4}}, {3, 1, {1, 1, 1}},
                        {4, 10, {1, 2, 4, 8}},   {1, 2, {1}},                {0, 2, {}}};
    for (const Row& row : rows)
        for (int kernel : {2, 3}) {
            T_WN2_conf conf = fullShape("");
            conf.nLayers = row.layers;
            conf.dilationCycle = row.cycle;
            conf.kernel = kernel;
            CapturedStdout captured;
            T_WN2* net = wavenet2_init(conf);
            captured.text();
            for (int l = 0; l < row.layers; ++l) {
                EXPECT_EQ(net->layers[l].dilation, row.dilations[static_cast<std::size_t>(l)]);
                EXPECT_EQ(net->layers[l].histSize, (kernel - 1) * net->layers[l].dilation * conf.nResidual);
            }
            wavenet2_free(net);
        }
}

// Everything that a file lacks is named once, in the order of loading; the rest of the network does not exist.
TEST(PlainWaveNet2Build, MissingLayersAreNamedAndReleased) {
    struct Row {
        int nCond, nState, initialKernel, firstSkipLayer;
        bool resOneByOne;
        int inputMultiplicity;
        std::vector<std::string> names;
    };
    const Row rows[] = {
        {0, 0, 1, 2, false, -1,
         {"_initial_causal_conv", "_l0_res_tanh", "_l0_res_sigmoid", "_l1_res_tanh", "_l1_res_sigmoid", "_skip_biases"}},
        {0, 0, 1, 1, false, 0,
         {"_initial_causal_conv", "_l0_res_tanh", "_l0_res_sigmoid", "_l1_res_tanh", "_l1_res_sigmoid", "_l1_skip",
          "_skip_biases"}},
        {3, 0, 3, 0, true, 1,
         {"_initial_causal_conv", "_l0_res_tanh", "_l0_cond_tanh", "_l0_res_sigmoid", "_l0_cond_sigmoid", "_l0_skip",
          "_l0_res_1x1", "_l1_res_tanh", "_l1_cond_tanh", "_l1_res_sigmoid", "_l1_cond_sigmoid", "_l1_skip",
          "_skip_biases"}},
        {0, 2, 2, 0, false, 2,
         {"_initial_causal_conv", "_l0_res_tanh", "_l0_state_wn_tanh", "_l0_res_sigmoid", "_l0_state_wn_sigmoid",
          "_l0_skip", "_l1_res_tanh", "_l1_state_wn_tanh", "_l1_res_sigmoid", "_l1_state_wn_sigmoid", "_l1_skip",
          "_skip_biases"}},
    };
    const TemporaryFolder folder;
    WeightFileWriter().save(folder.file("empty"));
    for (const Row& row : rows) {
        T_WN2_conf conf = fullShape(folder.file("empty"));
        conf.name = "A";
        conf.nLayers = 2;
        conf.nCond = row.nCond;
        conf.nState = row.nState;
        conf.initialKernel = row.initialKernel;
        conf.firstSkipLayer = row.firstSkipLayer;
        conf.resOneByOne = row.resOneByOne;
        conf.inputMultiplicity = row.inputMultiplicity;
        std::string expected;
        for (const std::string& name : row.names) expected += "WARNING: A" + name + " not loaded!\n";
        std::string printed;
        printed.reserve(4096);
        long kept;
        {
            CapturedStdout captured;
            const AllocationCounter counter;
            T_WN2* net = wavenet2_init(conf);
            const bool conditioned = row.nCond > 0, stated = row.nState > 0;
            for (int l = 0; l < 2; ++l) {
                const T_WN2_layer& layer = net->layers[l];
                EXPECT_EQ(layer.condTanhW != nullptr, conditioned);
                EXPECT_EQ(layer.condSigmoidB != nullptr, conditioned);
                EXPECT_EQ(layer.stateTanhB != nullptr, stated);
                EXPECT_EQ(layer.stateSigmoidW != nullptr, stated);
                EXPECT_EQ(layer.skipW != nullptr, l >= row.firstSkipLayer);
                EXPECT_EQ(layer.res1x1W != nullptr, row.resOneByOne && l == 0);
            }
            EXPECT_EQ(net->initialHist != nullptr, row.initialKernel > 1);
            EXPECT_EQ(net->initialHistSize, (row.initialKernel - 1) * 5);
            wavenet2_free(net);
            kept = counter.allocations() - counter.releases();
            printed = captured.text();
        }
        EXPECT_EQ(printed, expected);
        EXPECT_EQ(kept, 0);  // everything was released
    }
}

}  // namespace
}  // namespace KaTessel::tests
