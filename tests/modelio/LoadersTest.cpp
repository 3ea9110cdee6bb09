// The loaders that networks are built with, and the float buffers that they fill.
#include <new>
#include <string>
#include <tuple>
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

using Values = std::vector<float>;

TEST(PlainFloatBuffer, IsReleasedOnce) {
    float* p = nullptr;
    const AllocationCounter counter;
    init_buf(p, 3);
    free_buf(p);
    EXPECT_EQ(p, nullptr);
    free_buf(p);
    EXPECT_EQ(counter.releases(), 1);
    EXPECT_THROW(init_buf(p, -1), std::bad_array_new_length);
}

// One file for the tests below.
class PlainLoaders : public testing::Test {
protected:
    PlainLoaders() {
        WeightFileWriter()
            .add("dense", {countingTensor({2, 3}, 1.0f), countingTensor({3}, 10.0f)})
            .add("taps", {countingTensor({2, 2, 3}, 1.0f), countingTensor({3}, 10.0f)})
            .add("bias free", {countingTensor({2, 3}, 1.0f)})
            .add("short", {countingTensor({2}, 1.0f), countingTensor({1}, 10.0f)})
            .add("long", {countingTensor({6}, 1.0f), countingTensor({1}, 10.0f)})
            .add("long bias", {countingTensor({2, 3}, 1.0f), countingTensor({4}, 10.0f)})
            .add("gained", {StoredTensor{{2, 3}, {3, 0, 1, 4, 2, 0}}, StoredTensor{{1, 1, 3}, {10, 5, 7}}})
            .add("empty", {})
            .save(path);
    }

    // Compares and releases what a loader made; no values: a null pointer.
    void take(float* got, const Values& expected, const std::string& what) {
        ASSERT_EQ(got != nullptr, !expected.empty()) << what;
        for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_NEAR(got[i], expected[i], 2e-6) << what << ", " << i;
        free_buf(got);
    }

    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
};

TEST_F(PlainLoaders, WeightsAndBias) {
    const Values zeros(6), ordered = {1, 4, 2, 5, 3, 6};
    for (const auto& [layer, values, biases, warns] :
         {std::tuple("dense", ordered, Values{10, 11, 12}, false),
          {"taps", {1, 4, 2, 5, 3, 6, 7, 10, 8, 11, 9, 12}, {10, 11, 12}, false},
          {"bias free", ordered, {}, false},
          {"short", {1, 2, 0, 0, 0, 0}, {10, 0, 0}, false},  // of rank 1: any length that fits, as it is
          {"gained", {6, 8, 0, 5, 7, 0}, {}, false},
          {"Dense", zeros, {0, 0, 0}, true},
          {"empty", zeros, {0, 0, 0}, true},
          {"long", {0, 0, 0}, {0, 0, 0}, true},  // longer than what is allocated
          {"long bias", zeros, {0, 0, 0}, true}}) {
        float *weights = nullptr, *bias = nullptr;
        CapturedStdout captured;
        init_and_load_wb(path, layer, weights, bias, static_cast<int>(values.size()) / 3, 3);
        EXPECT_EQ(captured.text(), warns ? "WARNING: " + std::string(layer) + " not loaded!\n" : "");
        take(weights, values, layer);
        take(bias, biases, layer);
    }
}

TEST_F(PlainLoaders, OneArray) {
    for (const auto& [load, layer, values, warns] :
         {std::tuple(&init_and_load_b, "short", Values{1, 2, 0}, false),
          {&init_and_load_b, "short", {0}, true},
          {&init_and_load_b, "dense", {}, false},  // rank 2: a layer without bias
          {&init_and_load_b, "empty", {}, false},
          {&init_and_load_var, "taps", {1, 4, 2, 5, 3, 6, 7, 10, 8, 11, 9, 12}, false},
          {&init_and_load_var, "gained", {6, 8, 0, 5, 7, 0}, false},  // the gain is behind the weights
          {&init_and_load_var, "short", {1, 2, 0}, false},
          {&init_and_load_var, "short", {0}, true},
          {&init_and_load_var, "absent", {0, 0}, true}}) {
        float* got = nullptr;
        CapturedStdout captured;
        load(path, layer, got, static_cast<int>(values.size()));
        EXPECT_EQ(captured.text(), warns ? "WARNING: " + std::string(layer) + " not loaded!\n" : "");
        take(got, values, layer);
    }
}

TEST_F(PlainLoaders, OneLayerIntoTheCallersBuffers) {
    Values weights(6);
    float* bias = new float[3]();
    EXPECT_FALSE(loadSingleModelWeights(path, "absent", weights.data(), bias, 6, false));
    EXPECT_TRUE(loadSingleModelWeights(path, "dense", weights.data(), bias, -1, false));
    EXPECT_EQ(weights, (Values{1, 4, 2, 5, 3, 6}));
    take(bias, {10, 11, 12}, "dense");

    // Of rank 1: as many values as there are, whatever number is expected. The caller's buffer has the room.
    bias = new float[3]();
    EXPECT_TRUE(loadSingleModelWeights(path, "long", weights.data(), bias, 4, false));
    EXPECT_EQ(weights, (Values{1, 2, 3, 4, 5, 6}));
    LayerFile file;
    file.read(path);
    weights.assign(6, 0.0f);
    EXPECT_TRUE(
        copyFileLayerWeights("long", file.layerCount(), file.layers(), weights.data(), bias, 4, nullptr, true, false));
    EXPECT_EQ(weights, (Values{1, 2, 3, 4, 5, 6}));
    take(bias, {10, 0, 0}, "long");
}

#ifdef _WIN32
constexpr int kExitStatus = -1;
#else
constexpr int kExitStatus = 255;
#endif

// A model of the wrong shape never runs: the process ends with status 255 and says why on standard output.
TEST_F(PlainLoaders, WrongSizesEndTheProcess) {
    float *weights = nullptr, *bias = nullptr;
    std::fflush(stdout);
    EXPECT_EXIT((sendStdoutToStderr(), init_and_load_wb(path, "taps", weights, bias, 7, 3)),
                testing::ExitedWithCode(kExitStatus),
                testing::Eq("ERROR: wrong size for layer taps (expected: 21, was: 12)\n"
                            " dimensions[-2:]=[2,3] stopping...\n"));
    EXPECT_EXIT((sendStdoutToStderr(), init_and_load_var(path, "dense", weights, 5)),
                testing::ExitedWithCode(kExitStatus),
                testing::Eq("ERROR: wrong size for layer dense (expected: 5, was: 6)\n"
                            " dimensions[-2:]=[2,3] stopping...\n"));
}

}  // namespace
}  // namespace KaTessel::tests
