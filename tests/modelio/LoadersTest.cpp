// The loaders that networks are built with, and the float buffers that they fill.
#include <initializer_list>
#include <new>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FloatBuffer.h"
#include "katessel/LayerWeights.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

void expectValues(const float* got, std::initializer_list<float> expected, const char* what) {
    ASSERT_NE(got, nullptr) << what;
    int i = 0;
    for (float value : expected) {
        EXPECT_EQ(got[i], value) << what << ", value " << i;
        ++i;
    }
}

TEST(PlainFloatBuffer, IsZeroedAndReleasedOnce) {
    float* p = nullptr;
    const AllocationCounter counter;
    init_buf(p, 1000);
    EXPECT_EQ(counter.allocations(), 1);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(p[i], 0.0f);
    for (int i = 0; i < 1000; ++i) p[i] = 1.0f;
    float* first = p;
    init_buf(p, 1000);  // takes no notice of the array before
    EXPECT_NE(p, first);
    EXPECT_EQ(first[999], 1.0f);
    EXPECT_EQ(p[999], 0.0f);
    free_buf(first);
    free_buf(p);
    EXPECT_EQ(p, nullptr);
    free_buf(p);
    EXPECT_EQ(counter.releases(), 2);
    init_buf(p, 0);
    free_buf(p);
    EXPECT_THROW(init_buf(p, -1), std::bad_array_new_length);
    EXPECT_EQ(p, nullptr);
}

// One file for the tests below.
class PlainLoaders : public testing::Test {
protected:
    PlainLoaders() : path(folder.file("weights")) {
        WeightFileWriter()
            .add("dense", {countingTensor({2, 3}, 1.0f), countingTensor({3}, 10.0f)})
            .add("taps", {countingTensor({2, 2, 3}, 1.0f), countingTensor({3}, 10.0f)})
            .add("bias free", {countingTensor({2, 3}, 1.0f)})
            .add("vector", {countingTensor({3}, 1.0f)})
            .add("short", {countingTensor({2}, 1.0f), countingTensor({1}, 10.0f)})
            .add("long bias", {countingTensor({2, 3}, 1.0f), countingTensor({4}, 10.0f)})
            .add("gained", {StoredTensor{{2, 3}, {3, 0, 1, 4, 2, 0}}, StoredTensor{{1, 1, 3}, {10, 5, 7}}})
            .add("empty", {})
            .add("five by eight", {countingTensor({5, 8}), countingTensor({8})})
            .save(path);
    }

    const TemporaryFolder folder;
    const std::string path;
};

TEST_F(PlainLoaders, WeightsAndBias) {
    struct Row {
        const char* layer;
        int rows;
        std::vector<float> weights, bias;  // an empty bias: the pointer becomes null
        bool warns;
    };
    const Row rows[] = {
        {"dense", 2, {1, 4, 2, 5, 3, 6}, {10, 11, 12}, false},
        {"taps", 4, {1, 4, 2, 5, 3, 6, 7, 10, 8, 11, 9, 12}, {10, 11, 12}, false},
        {"bias free", 2, {1, 4, 2, 5, 3, 6}, {}, false},
        {"short", 2, {1, 2, 0, 0, 0, 0}, {10, 0, 0}, false},  // of rank 1: any length that fits, as it is
        {"gained", 2, {6, 8, 0, 5, 7, 0}, {}, false},
        {"absent", 2, {0, 0, 0, 0, 0, 0}, {0, 0, 0}, true},
        {"Dense", 2, {0, 0, 0, 0, 0, 0}, {0, 0, 0}, true},
        {"empty", 2, {0, 0, 0, 0, 0, 0}, {0, 0, 0}, true},
        {"long bias", 2, {0, 0, 0, 0, 0, 0}, {0, 0, 0}, true},
    };
    for (const Row& row : rows) {
        float *weights = nullptr, *bias = nullptr;
        CapturedStdout captured;
        init_and_load_wb(path, row.layer, weights, bias, row.rows, 3);
        EXPECT_EQ(captured.text(), row.warns ? "WARNING: " + std::string(row.layer) + " not loaded!\n" : "");
        for (std::size_t i = 0; i < row.weights.size(); ++i)
            EXPECT_NEAR(weights[i], row.weights[i], 2e-6) << row.layer << ", weight " << i;
        ASSERT_EQ(bias != nullptr, !row.bias.empty()) << row.layer;
        for (std::size_t i = 0; i < row.bias.size(); ++i) EXPECT_EQ(bias[i], row.bias[i]) << row.layer << ", bias " << i;
        free_buf(weights);
        free_buf(bias);
    }
}

TEST_F(PlainLoaders, BiasAlone) {
    float *vector = nullptr, *shortOne = nullptr, *matrix = nullptr, *empty = nullptr, *absent = nullptr,
          *tooLong = nullptr;
    CapturedStdout captured;
    init_and_load_b(path, "vector", vector, 3);
    init_and_load_b(path, "short", shortOne, 3);
    init_and_load_b(path, "dense", matrix, 3);
    init_and_load_b(path, "empty", empty, 3);
    init_and_load_b(path, "absent", absent, 3);
    init_and_load_b(path, "vector", tooLong, 2);
    EXPECT_EQ(captured.text(), "WARNING: absent not loaded!\nWARNING: vector not loaded!\n");
    expectValues(vector, {1, 2, 3}, "vector");
    expectValues(shortOne, {1, 2, 0}, "short");
    EXPECT_EQ(matrix, nullptr);  // rank 2: a layer without bias
    EXPECT_EQ(empty, nullptr);
    expectValues(absent, {0, 0, 0}, "absent");
    expectValues(tooLong, {0, 0}, "too long");
    for (float* p : {vector, shortOne, matrix, empty, absent, tooLong}) free_buf(p);
}

TEST_F(PlainLoaders, OneArrayOfAnyShape) {
    float *matrix = nullptr, *taps = nullptr, *vector = nullptr, *gained = nullptr, *absent = nullptr,
          *tooLong = nullptr;
    CapturedStdout captured;
    init_and_load_var(path, "dense", matrix, 6);
    init_and_load_var(path, "taps", taps, 12);
    init_and_load_var(path, "vector", vector, 4);
    init_and_load_var(path, "gained", gained, 6);
    init_and_load_var(path, "absent", absent, 2);
    init_and_load_var(path, "vector", tooLong, 2);
    EXPECT_EQ(captured.text(), "WARNING: absent not loaded!\nWARNING: vector not loaded!\n");
    expectValues(matrix, {1, 4, 2, 5, 3, 6}, "dense");
    expectValues(taps, {1, 4, 2, 5, 3, 6, 7, 10, 8, 11, 9, 12}, "taps");
    expectValues(vector, {1, 2, 3, 0}, "vector");
    EXPECT_NEAR(gained[1], 8.0f, 2e-6);  // the gain is behind the weights when no bias is wanted
    expectValues(absent, {0, 0}, "absent");
    expectValues(tooLong, {0, 0}, "too long");
    for (float* p : {matrix, taps, vector, gained, absent, tooLong}) free_buf(p);
}

TEST_F(PlainLoaders, OneLayerIntoTheCallersBuffers) {
    float weights[6] = {};
    float* bias = new float[3]();
    EXPECT_TRUE(loadSingleModelWeights(path, "dense", weights, bias, 6, false));
    expectValues(weights, {1, 4, 2, 5, 3, 6}, "dense");
    expectValues(bias, {10, 11, 12}, "dense bias");
    EXPECT_FALSE(loadSingleModelWeights(path, "absent", weights, bias, 6, false));
    EXPECT_FALSE(loadSingleModelWeights(path + ".absent", "dense", weights, bias, 6, false));
    EXPECT_TRUE(loadSingleModelWeights(path, "vector", nullptr, bias, -1, false));
    expectValues(bias, {1, 2, 3}, "vector");
    delete[] bias;
    float* none = nullptr;
    float unchecked[40] = {};
    EXPECT_TRUE(loadSingleModelWeights(path, "five by eight", unchecked, none, -1, false));
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(unchecked[1], 8.0f);
}

// A model of the wrong shape never runs: the process ends with status 255 and says why on standard output.
TEST_F(PlainLoaders, WrongSizesEndTheProcess) {
    const auto load = [&](const char* layer, int rows, int cols) {
        sendStdoutToStderr();
        float *weights = nullptr, *bias = nullptr;
        init_and_load_wb(path, layer, weights, bias, rows, cols);
    };
    std::fflush(stdout);
    EXPECT_EXIT(load("five by eight", 4, 8), testing::ExitedWithCode(255),
                testing::Eq("ERROR: wrong size for layer five by eight (expected: 32, was: 40)\n"
                            " dimensions[-2:]=[5,8] stopping...\n"));
    EXPECT_EXIT(load("taps", 7, 3), testing::ExitedWithCode(255),
                testing::Eq("ERROR: wrong size for layer taps (expected: 21, was: 12)\n"
                            " dimensions[-2:]=[2,3] stopping...\n"));
    EXPECT_EXIT(
        {
            sendStdoutToStderr();
            float* values = nullptr;
            init_and_load_var(path, "dense", values, 5);
        },
        testing::ExitedWithCode(255),
        testing::Eq("ERROR: wrong size for layer dense (expected: 5, was: 6)\n"
                    " dimensions[-2:]=[2,3] stopping...\n"));
}

}  // namespace
}  // namespace KaTessel::tests
