// Handing one layer to a caller: roles of tensors, layout, weight normalisation, and what does not fit.
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/LayerWeights.h"
#include "modelio/LayerCopy.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

// Layers read back from a file.
class Records {
public:
    explicit Records(const WeightFileWriter& writer) {
        const TemporaryFolder folder;
        writer.save(folder.file("weights"));
        if (!m_file.read(folder.file("weights"))) std::abort();
    }
    int count() const { return m_file.layerCount(); }
    T_FileLayerWeights* layers() { return m_file.layers(); }

private:
    LayerFile m_file;
};

// Stored [.., a, b] at [.., b, a], by the definition of the two index formulas.
std::vector<double> delivered(const StoredTensor& t) {
    std::vector<double> out(t.values.size());
    const std::size_t rank = t.dimensions.size();
    if (rank == 1) return {t.values.begin(), t.values.end()};
    const std::size_t A = static_cast<std::size_t>(t.dimensions[rank - 2]);
    const std::size_t B = static_cast<std::size_t>(t.dimensions[rank - 1]);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t block = i / (A * B), a = i / B % A, b = i % B;
        out[block * A * B + b * A + a] = t.values[i];
    }
    return out;
}

TEST(PlainLayerCopy, LastTwoAxesAreSwapped) {
    Random random(31);
    for (const std::vector<int>& dimensions : std::vector<std::vector<int>>{
             {6}, {3, 4}, {4, 3}, {1, 5}, {5, 1}, {3, 2, 4}, {1, 3, 4}, {2, 3, 2, 5}, {2, 1, 2, 1, 3, 4}}) {
        StoredTensor kernel = countingTensor(dimensions);
        Records records(WeightFileWriter().add("before", {}).add("wanted", {kernel}));
        const int n = static_cast<int>(kernel.values.size());
        GuardedBuffer weights(n, 1, 99.0f);
        float* bias = nullptr;
        EXPECT_TRUE(copyFileLayerWeights("wanted", records.count(), records.layers(), weights.data(), bias, n, nullptr,
                                         true, false));
        const std::vector<double> expected = delivered(kernel);
        for (int i = 0; i < n; ++i) ASSERT_EQ(weights[i], expected[i]) << "rank " << dimensions.size() << ", " << i;
        EXPECT_TRUE(weights.intact());
        EXPECT_TRUE(records.layers()[1].loaded);
        EXPECT_FALSE(records.layers()[0].loaded);
    }
    // Three inputs and four outputs with the values 0 .. 11: row o is o, 4 + o, 8 + o.
    Records records(WeightFileWriter().add("dense", {countingTensor({3, 4})}));
    float weights[12];
    float* bias = nullptr;
    ASSERT_TRUE(copyFileLayerWeights("dense", 1, records.layers(), weights, bias, 12, nullptr, true, false));
    for (int o = 0; o < 4; ++o)
        for (int i = 0; i < 3; ++i) EXPECT_EQ(weights[o * 3 + i], static_cast<float>(4 * i + o));
}

TEST(PlainLayerCopy, NamesMatchExactlyAndTheFirstWins) {
    Records records(WeightFileWriter()
                        .add("twice", {constantTensor({2}, 1.0f)})
                        .add("Twice", {constantTensor({2}, 2.0f)})
                        .add("twice", {constantTensor({2}, 3.0f)})
                        .add("twice_", {constantTensor({2}, 4.0f)}));
    T_FileLayerWeights* layers = records.layers();
    EXPECT_EQ(findFileLayer("twice", 4, layers), 0);
    EXPECT_EQ(findFileLayer("Twice", 4, layers), 1);
    EXPECT_EQ(findFileLayer("twice_", 4, layers), 3);
    EXPECT_EQ(findFileLayer("twice_", 3, layers), -1);  // no further than the count
    EXPECT_EQ(findFileLayer("twic", 4, layers), -1);
    EXPECT_EQ(findFileLayer("twice", 0, layers), -1);
    EXPECT_EQ(findFileLayer("twice", -1, layers), -1);
    EXPECT_EQ(findFileLayer("twice", 4, nullptr), -1);

    float* bias = new float[2]{7.0f, 7.0f};
    EXPECT_FALSE(copyFileLayerWeights("absent", 4, layers, nullptr, bias, -1, nullptr, true, false));
    EXPECT_EQ(bias[0], 7.0f);  // nothing written
    EXPECT_TRUE(copyFileLayerWeights("twice", 4, layers, nullptr, bias, -1, nullptr, true, false));
    EXPECT_EQ(bias[0], 1.0f);
    EXPECT_EQ(bias[1], 1.0f);
    delete[] bias;
}

// A layer as stored, what the caller asks for, and what must come of it.
struct GainRow {
    const char* what;
    std::vector<int> kernel;
    bool storesBias;
    std::vector<int> gain;
    bool passesBias;
    bool allow;
    int normalised;  // taps normalised together; 0: the weights arrive as stored
    bool keepsBias;  // the caller's bias pointer is still there afterwards
};

TEST(PlainLayerCopy, GainsGiveEveryOutputItsLength) {
    const GainRow rows[] = {
        {"dense, bias, gain", {3, 4}, true, {1, 1, 4}, true, true, 1, true},
        {"dense, gain, no bias stored", {3, 4}, false, {1, 1, 4}, true, true, 1, false},
        {"dense, gain, no bias wanted", {3, 4}, false, {1, 1, 4}, false, true, 1, false},
        {"no bias wanted, but one stored before the gain", {3, 4}, true, {1, 1, 4}, false, true, 0, false},
        {"three taps together", {3, 5, 4}, true, {1, 1, 4}, true, true, 3, true},
        {"one tap", {1, 5, 4}, true, {1, 1, 4}, true, true, 1, true},
        {"rank 4: the first block only", {2, 3, 5, 4}, true, {1, 1, 1, 4}, true, true, 1, true},
        {"gain of rank 5", {3, 4}, true, {1, 1, 1, 1, 4}, true, true, 1, true},
        {"one output", {3, 1}, true, {1, 1, 1}, true, true, 1, true},
        {"rank 2 is no gain", {3, 4}, true, {1, 4}, true, true, 0, true},
        {"[2, 1, 4] is no gain", {3, 4}, true, {2, 1, 4}, true, true, 0, true},
        {"[1, 4, 4] is no gain", {3, 4}, true, {1, 4, 4}, true, true, 0, true},
        {"not allowed", {3, 4}, true, {1, 1, 4}, true, false, 0, true},
    };
    Random random(32);
    for (const GainRow& row : rows) {
        StoredTensor kernel = countingTensor(row.kernel), gain = countingTensor(row.gain);
        for (float& w : kernel.values) w = random.uniform(-2.0f, 2.0f);
        for (float& g : gain.values) g = random.uniform(-3.0f, 3.0f);
        const int outputs = row.kernel.back(), inputs = row.kernel[row.kernel.size() - 2];
        const StoredTensor bias = countingTensor({outputs}, 5.0f);
        std::vector<StoredTensor> tensors = {kernel};
        if (row.storesBias) tensors.push_back(bias);
        tensors.push_back(gain);
        Records records(WeightFileWriter().add("layer", tensors));

        const int n = static_cast<int>(kernel.values.size());
        GuardedBuffer weights(n);
        float* biasBuffer = row.passesBias ? new float[static_cast<std::size_t>(outputs)]() : nullptr;
        ASSERT_TRUE(copyFileLayerWeights("layer", 1, records.layers(), weights.data(), biasBuffer, n, nullptr,
                                         row.allow, false))
            << row.what;

        std::vector<double> expected = delivered(kernel);
        for (int o = 0; o < outputs && row.normalised > 0; ++o) {
            double squares = 0.0;
            for (int t = 0; t < row.normalised; ++t)
                for (int i = 0; i < inputs; ++i)
                    squares += std::pow(expected[static_cast<std::size_t>((t * outputs + o) * inputs + i)], 2);
            for (int t = 0; t < row.normalised; ++t)
                for (int i = 0; i < inputs; ++i)
                    expected[static_cast<std::size_t>((t * outputs + o) * inputs + i)] *=
                        gain.values[static_cast<std::size_t>(o)] / std::sqrt(squares);
        }
        // Relative, a few roundings in a sum of at most 15 squares.
        for (int i = 0; i < n; ++i)
            ASSERT_NEAR(weights[i], expected[i], 1e-6 * std::abs(expected[i])) << row.what << ", " << i;
        EXPECT_TRUE(weights.intact()) << row.what;
        ASSERT_EQ(biasBuffer != nullptr, row.keepsBias) << row.what;
        for (int o = 0; o < outputs && row.keepsBias; ++o) EXPECT_EQ(biasBuffer[o], bias.values[o]) << row.what;
        delete[] biasBuffer;
    }
}

TEST(PlainLayerCopy, GainOfVanishingRowsHasAFloor) {
    // Rows of squared length 0, 1e-10 (below the floor of 1e-8) and 4e-8 (above it).
    const StoredTensor kernel{{1, 3}, {0.0f, 1e-5f, 2e-4f}};
    const StoredTensor gain{{1, 1, 3}, {2.0f, 2.0f, -2.0f}};
    Records records(WeightFileWriter().add("layer", {kernel, countingTensor({3}), gain}));
    GuardedBuffer weights(3);
    float* bias = new float[3];
    ASSERT_TRUE(copyFileLayerWeights("layer", 1, records.layers(), weights.data(), bias, 3, nullptr, true, false));
    EXPECT_EQ(weights[0], 0.0f);
    EXPECT_NEAR(weights[1], 1e-5 * 2.0 / 1e-4, 1e-6);
    EXPECT_NEAR(weights[2], -2.0, 1e-6);
    delete[] bias;
}

TEST(PlainLayerCopy, BiasOfAnotherRankIsReleasedAsItWasMade) {
    Records records(WeightFileWriter()
                        .add("matrix", {countingTensor({2, 3}), countingTensor({1, 3})})
                        .add("alone", {countingTensor({2, 3})})
                        .add("empty", {}));
    struct Row {
        const char* layer;
        bool wantsWeights;
    };
    for (const Row& row : {Row{"matrix", true}, Row{"alone", true}, Row{"matrix", false}, Row{"empty", false}})
        for (bool malloced : {false, true}) {
            float weights[6];
            float* bias = malloced ? static_cast<float*>(std::malloc(3 * sizeof(float))) : new float[3];
            std::string name = row.layer;  // short: its copies allocate nothing
            const AllocationCounter counter;
            EXPECT_TRUE(copyFileLayerWeights(name, 3, records.layers(), row.wantsWeights ? weights : nullptr, bias,
                                             row.wantsWeights ? 6 : -1, nullptr, true, malloced));
            EXPECT_EQ(bias, nullptr);
            EXPECT_EQ(counter.releases(), malloced ? 0 : 1) << row.layer << row.wantsWeights;
            if (row.wantsWeights) {
                EXPECT_EQ(weights[1], 3.0f);
            }
        }
}

TEST(PlainLayerCopy, MaskIsAnnouncedAndIgnored) {
    Records records(WeightFileWriter().add("layer", {countingTensor({2, 3}), countingTensor({3}, 10.0f)}));
    float weights[6] = {};
    float* bias = new float[3]();
    bool* mask = nullptr;
    CapturedStdout captured;
    EXPECT_TRUE(copyFileLayerWeights("layer", 1, records.layers(), weights, bias, 6, &mask, true, false));
    EXPECT_FALSE(copyFileLayerWeights("absent", 1, records.layers(), weights, bias, 6, &mask, true, false));
    EXPECT_EQ(captured.text(), "Error: not implemented");
    EXPECT_EQ(weights[5], 5.0f);
    EXPECT_EQ(bias[2], 12.0f);
    delete[] bias;
}

// Where a layer's tensors cannot be put into the caller's buffers, nothing is written and nothing released.
TEST(PlainLayerCopy, WhatDoesNotFitIsRefused) {
    const StoredTensor kernel = countingTensor({3, 4}, 1.0f), bias4 = countingTensor({4}, 1.0f);
    struct Row {
        const char* what;
        std::vector<StoredTensor> tensors;
        bool wantsWeights;
    };
    const Row rows[] = {
        {"rank-1 weights longer than the buffer", {countingTensor({13}, 1.0f), bias4}, true},
        {"bias longer than the buffer", {kernel, countingTensor({5}, 1.0f)}, true},
        {"gain longer than the outputs", {kernel, bias4, countingTensor({1, 1, 5}, 1.0f)}, true},
        {"gain shorter than the outputs", {kernel, bias4, countingTensor({1, 1, 3}, 1.0f)}, true},
        {"gain for weights of rank 1", {countingTensor({12}, 1.0f), bias4, countingTensor({1, 1, 12}, 1.0f)}, true},
        {"weights wanted, none there", {}, true},
        {"gain behind a lone bias", {bias4, countingTensor({1, 1, 4}, 1.0f)}, false},
        {"lone bias longer than the buffer", {countingTensor({5}, 1.0f)}, false},
    };
    for (const Row& row : rows) {
        Records records(WeightFileWriter().add("layer", row.tensors));
        GuardedBuffer weights(12, 1, 7.0f), biasBuffer(4, 1, 8.0f);
        float* bias = biasBuffer.data();
        LayerRequest request;
        request.name = "layer";
        if (row.wantsWeights) {
            request.weights = weights.data();
            request.weightCapacity = 12;
            request.expectedSize = 12;
        }
        request.bias = &bias;
        request.biasCapacity = 4;
        EXPECT_FALSE(copyLayer(request, records.count(), records.layers())) << row.what;
        ASSERT_EQ(bias, biasBuffer.data()) << row.what;
        for (int i = 0; i < 12; ++i) EXPECT_EQ(weights[i], 7.0f) << row.what;
        for (int i = 0; i < 4; ++i) EXPECT_EQ(biasBuffer[i], 8.0f) << row.what;
        EXPECT_TRUE(weights.intact() && biasBuffer.intact()) << row.what;
        EXPECT_FALSE(records.layers()[0].loaded) << row.what;
    }
}

}  // namespace
}  // namespace KaTessel::tests
