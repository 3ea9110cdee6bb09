// Handing one layer to a caller: roles of tensors, layout, weight normalisation, and what does not fit.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/LayerWeights.h"
#include "support/AllocationCounter.h"
#include "support/GuardedBuffer.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

// One layer "layer", read back from a file.
LayerFile fileOf(const std::vector<StoredTensor>& tensors) {
    const TemporaryFolder folder;
    WeightFileWriter().add("layer", tensors).save(folder.file("weights"));
    LayerFile file;
    EXPECT_TRUE(file.read(folder.file("weights")));
    return file;
}

// What the weights become, by definition: stored [.., a, b] at [.., b, a], and the outputs b of the first `taps`
// blocks scaled to the length that the gain says; with no taps, as they are.
std::vector<double> delivered(const StoredTensor& t, int taps, const StoredTensor& gain) {
    std::vector<double> out(t.values.size());
    const std::size_t A = static_cast<std::size_t>(t.dimensions.rbegin()[1]);
    const std::size_t B = static_cast<std::size_t>(t.dimensions.back());
    const std::size_t normalised = static_cast<std::size_t>(taps) * A * B;
    std::vector<double> squares(B);
    for (std::size_t i = 0; i < normalised; ++i) squares[i % B] += std::pow(t.values[i], 2);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const std::size_t block = i / (A * B), a = i / B % A, b = i % B;
        const double scale = i < normalised ? gain.values[b] / std::sqrt(std::max(squares[b], 1e-8)) : 1.0;
        out[block * A * B + b * A + a] = t.values[i] * scale;
    }
    return out;
}

TEST(PlainLayerCopy, GainsGiveEveryOutputItsLength) {
    struct Row {
        const char* what;
        std::vector<int> kernel, gain;
        bool storesBias, wantsBias;
        int taps;  // normalised together; 0: the weights arrive as stored
        bool allow = true;
    };
    const Row rows[] = {
        {"dense, bias, gain", {3, 4}, {1, 1, 4}, true, true, 1},
        {"dense, gain, no bias stored", {3, 4}, {1, 1, 4}, false, true, 1},
        {"dense, gain, no bias wanted", {3, 4}, {1, 1, 4}, false, false, 1},
        {"no bias wanted, but one stored before the gain", {3, 4}, {1, 1, 4}, true, false, 0},
        {"three taps together", {3, 5, 4}, {1, 1, 4}, true, true, 3},
        {"rank 4: the first block only", {2, 3, 5, 4}, {1, 1, 1, 4}, true, true, 1},
        {"rank 2 is no gain", {3, 4}, {1, 4}, true, true, 0},
        {"[2, 1, 4] is no gain", {3, 4}, {2, 1, 4}, true, true, 0},
        {"[1, 4, 4] is no gain", {3, 4}, {1, 4, 4}, true, true, 0},
        {"not allowed", {3, 4}, {1, 1, 4}, true, true, 0, false},
    };
    Random random(32);
    for (const Row& row : rows) {
        StoredTensor kernel = countingTensor(row.kernel), gain = countingTensor(row.gain);
        // The last two outputs lie below the smallest length that can be scaled.
        const float sizes[] = {1.0f, 1.0f, 0.0f, 1e-5f};
        for (std::size_t i = 0; i < kernel.values.size(); ++i) kernel.values[i] = random.uniform(-2, 2) * sizes[i % 4];
        for (float& g : gain.values) g = random.uniform(-3.0f, 3.0f);
        const StoredTensor bias = countingTensor({4}, 5.0f);
        LayerFile file = fileOf(row.storesBias ? std::vector{kernel, bias, gain} : std::vector{kernel, gain});

        const int n = static_cast<int>(kernel.values.size());
        GuardedBuffer weights(n);
        float* biasBuffer = row.wantsBias ? new float[4]() : nullptr;
        ASSERT_TRUE(
            copyFileLayerWeights("layer", 1, file.layers(), weights.data(), biasBuffer, n, nullptr, row.allow, false))
            << row.what;
        const std::vector<double> expected = delivered(kernel, row.taps, gain);
        // Relative, a few roundings in a sum of at most 15 squares.
        for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_NEAR(weights.data()[i], expected[i], 1e-6 * std::abs(expected[i])) << row.what << ", " << i;
        EXPECT_TRUE(weights.intact() && file.layers()[0].loaded) << row.what;
        ASSERT_EQ(biasBuffer != nullptr, row.storesBias && row.wantsBias) << row.what;
        for (std::size_t o = 0; o < 4 && biasBuffer != nullptr; ++o)
            EXPECT_EQ(biasBuffer[o], bias.values[o]) << row.what;
        delete[] biasBuffer;
    }
}

TEST(PlainLayerCopy, BiasOfAnotherRankIsReleasedAsItWasMade) {
    for (bool malloced : {false, true}) {
        LayerFile file = fileOf({countingTensor({2, 3}), countingTensor({1, 3})});
        float weights[6];
        float* bias = malloced ? static_cast<float*>(std::malloc(3 * sizeof(float))) : new float[3];
        const AllocationCounter counter;  // the short name is copied without an allocation
        EXPECT_TRUE(copyFileLayerWeights("layer", 1, file.layers(), weights, bias, 6, nullptr, true, malloced));
        EXPECT_EQ(bias, nullptr);
        EXPECT_EQ(counter.releases(), 1);
        EXPECT_EQ(counter.frees(), malloced ? 1 : 0);
    }
}

// Where a layer's tensors cannot be put into the caller's buffers, nothing is written and nothing released.
TEST(PlainLayerCopy, WhatDoesNotFitIsRefused) {
    const StoredTensor kernel = countingTensor({3, 4}, 1.0f), bias4 = countingTensor({4}, 1.0f);
    for (const std::vector<StoredTensor>& tensors :
         {std::vector{kernel, bias4, countingTensor({1, 1, 5}, 1.0f)},
          {kernel, bias4, countingTensor({1, 1, 3}, 1.0f)},
          {countingTensor({12}, 1.0f), bias4, countingTensor({1, 1, 12}, 1.0f)},
          {}}) {
        LayerFile file = fileOf(tensors);
        GuardedBuffer weights(12, 1, 7.0f), biasBuffer(4, 1, 7.0f);
        float* bias = biasBuffer.data();
        EXPECT_FALSE(copyFileLayerWeights("layer", 1, file.layers(), weights.data(), bias, 12, nullptr, true, false));
        ASSERT_EQ(bias, biasBuffer.data());
        for (int i = 0; i < 12; ++i) EXPECT_EQ(weights[i] + biasBuffer[i / 3], 14.0f);
        EXPECT_TRUE(weights.intact() && biasBuffer.intact() && !file.layers()[0].loaded);
    }
}

}  // namespace
}  // namespace KaTessel::tests
