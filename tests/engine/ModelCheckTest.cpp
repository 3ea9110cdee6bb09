// What is said of weight files and model cards before an engine sees them.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "engine/ConstantModel.h"
#include "katessel/ModelCard.hpp"
#include "katessel/ModelCheck.hpp"
#include "support/TemporaryFolder.h"

namespace KaTessel::tests {
namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Layers = std::vector<StoredLayer>;

class PlainModelCheck : public testing::Test {
protected:
    // The faults of a model that `spoil` has changed; `bytes` and `file` hold it.
    std::vector<ModelFault> faults(const std::function<void(Layers&)>& spoil, const std::string& behind = "") {
        Layers layers = constantLayers(0.5f, 0.0f, 0.0f);
        spoil(layers);
        bytes = bytesOf(layers) + behind;
        saveBytes(path, bytes);
        return modelFaults(path, file);
    }
    // What checkModel says; empty: nothing.
    std::string refusal() const {
        try {
            checkModel(path);
        } catch (const ModelError& error) {
            return error.what();
        }
        return "";
    }
    std::string at(std::int64_t offset, std::size_t count) const {
        return bytes.substr(static_cast<std::size_t>(offset), count);
    }

    const TemporaryFolder folder;
    const std::string path = folder.file("model.weights");
    std::string bytes;
    LayerFile file;
};

TEST_F(PlainModelCheck, EveryFaultHasItsPlace) {
    EXPECT_TRUE(faults([](Layers&) {}).empty());
    EXPECT_EQ(refusal(), "");

    const auto all = faults(
        [](Layers& layers) {
            layers[2].tensors[1].values[7] = kNan;  // ENCODER_l0_res_sigmoid
            layers[2].tensors[1].values[9] = -kNan;
            layers[3].tensors[0] = constantTensor({120, 70}, 0.0f);  // ENCODER_l0_skip
            layers[5].name = "spare";                                // ENCODER_l1_res_sigmoid
            layers[5].tensors[0].values[0] = kNan;
            layers[12].tensors.pop_back();  // the last bias is optional
            layers.push_back({"enc_out1", {}});
            layers.push_back({std::string("half\0name", 9), {}});
        },
        "more");
    const struct {
        const char *layer, *expected, *found;
        int tensor;
    } rows[] = {
        {"ENCODER_l0_res_sigmoid", "layer ENCODER_l0_res_sigmoid with finite values",
         "nan in tensor 1, value 7 and 1 more", 1},
        {"ENCODER_l0_skip", "layer ENCODER_l0_skip with weights [70,120]", "[120,70]", 0},
        {"spare", "layer spare with finite values", "nan in tensor 0, value 0", 0},
        {"enc_out1", "layer enc_out1 once", "it again", -1},
        {"half", "a name without zero bytes", "one after \"half\"", -1},
        {"ENCODER_l1_res_sigmoid", "layer ENCODER_l1_res_sigmoid", "none of that name", -1},
        {"", "the end of the file after the last layer", "4 more bytes", -1},
    };
    ASSERT_EQ(all.size(), std::size(rows));
    for (std::size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(all[i].layer, rows[i].layer);
        EXPECT_EQ(all[i].tensor, rows[i].tensor) << rows[i].expected;
        EXPECT_EQ(all[i].expected, rows[i].expected);
        EXPECT_EQ(all[i].found, rows[i].found);
    }
    EXPECT_EQ(at(all[0].offset, 4), Bytes().floats({kNan}).get());
    EXPECT_EQ(at(all[1].offset, 8), Bytes().int32(2).int32(120).get()) << "a rank, and the first size";
    EXPECT_EQ(at(all[3].offset + 1, 8), "enc_out1");
    EXPECT_EQ(at(all[6].offset, 8), "more");
    EXPECT_EQ(
        refusal(),
        "bad model: " + path +
            ": expected layer ENCODER_l0_res_sigmoid with finite values, found nan in tensor 1, value 7 and 1 more");
}

TEST_F(PlainModelCheck, TakesWhatTheEngineTakes) {
    const auto layer = [](int index, std::vector<StoredTensor> tensors) {
        return [=](Layers& layers) { layers[static_cast<std::size_t>(index)].tensors = tensors; };
    };
    const StoredTensor kernel = constantTensor({3, 70, 70}, 0.1f), bias = constantTensor({70}, 0.1f);
    const StoredTensor gain = constantTensor({1, 1, 70}, 1.0f), skip = constantTensor({70, 120}, 0.1f);
    const std::string weights = "layer ENCODER_l0_res_tanh with weights [3,70,70]";
    const struct {
        std::function<void(Layers&)> change;
        std::string expected, found;  // empty: good
    } rows[] = {
        {layer(1, {kernel}), "", ""},
        {layer(1, {kernel, gain}), "", ""},
        {layer(1, {kernel, bias, gain}), "", ""},
        {layer(3, {constantTensor({1, 70, 120}, 0.1f)}), "", ""},
        {[](Layers& layers) {
             layers.push_back({"spare", {constantTensor({3}, 1.0f)}});
         },
         "", ""},
        {layer(1, {}), weights, "no tensor"},
        {layer(1, {constantTensor({14700}, 0.1f)}), weights, "[14700]"},
        {layer(1, {kernel, gain, gain}), "layer ENCODER_l0_res_tanh with nothing after tensor 1", "[1,1,70]"},
        {layer(1, {kernel, constantTensor({1, 70}, 0.1f)}), "layer ENCODER_l0_res_tanh with bias [70]", "[1,70]"},
        {layer(0, {constantTensor({150, 70}, 0.1f)}), "layer ENCODER_initial_causal_conv with bias [70]", "no tensor"},
        {layer(10, {constantTensor({1, 120}, 0.1f)}), "layer ENCODER_skip_biases with bias [120]", "[1,120]"},
        {layer(10, {constantTensor({120}, 0.1f), skip}), "layer ENCODER_skip_biases with nothing after tensor 0",
         "[70,120]"},
    };
    for (const auto& row : rows) {
        const std::vector<ModelFault> found = faults(row.change);
        ASSERT_EQ(found.size(), row.expected.empty() ? 0u : 1u) << row.expected;
        if (found.empty()) continue;
        EXPECT_EQ(found[0].expected, row.expected);
        EXPECT_EQ(found[0].found, row.found);
    }
    faults(rows[2].change);
    for (const auto& [tensor, role] : {std::pair(0, "weights"), {1, "bias"}, {2, "gain"}})
        EXPECT_STREQ(tensorRole(file.layers()[1], tensor), role);
    EXPECT_STREQ(tensorRole(file.layers()[10], 0), "bias");
}

TEST(PlainModelCard, GivesItsThresholdOrIsRefused) {
    const TemporaryFolder folder;
    const std::string model = folder.file("own.weights");
    EXPECT_EQ(modelThreshold(model), 0.5f) << "no card";
    const struct {
        const char* card;
        float threshold;
    } good[] = {
        {R"({"name": "x", "default_threshold": 0.7, "layers": [1, {"default_threshold": 9}, []]})", 0.7f},
        {R"({"note": "\"default_threshold\": 3, \\", "default_threshold" : 2e-1 })", 0.2f},
        {"{\"default_threshold\":0}\n", 0.0f},
        {R"({"default_threshold": 1, "deep": {"a": [[["}"]]], "b": null, "c": {}}, "default_threshold": 1000})",
         1000.0f},
        {"{}", 0.5f},
        {R"({"threshold": 0.1, "of": {"default_threshold": 0.2}})", 0.5f},
    };
    for (const auto& row : good) {
        saveBytes(modelCard(model), row.card);
        EXPECT_EQ(modelThreshold(model), row.threshold) << row.card;
    }
    const std::string deep = "{\"a\": " + std::string(100000, '[');
    for (const char* const card :
         {"", "[0.5]", "0.5", R"({"default_threshold": 0.5)", R"({"default_threshold": "0.5"})",
          R"({"default_threshold": -1})", R"({"default_threshold": nan})", R"({"default_threshold": 1e999})",
          R"({"default_threshold": 0.5x})", R"({"default_threshold": 0.5 0.6})", R"({"default_threshold": })",
          R"({"default_threshold": {"a": 1}})", R"({"default_threshold": null})", R"({"a": 1,})", R"({"a" 1})",
          R"({} {})", R"({"a": "\)", deep.c_str()}) {
        saveBytes(modelCard(model), card);
        try {
            ADD_FAILURE() << card << " gives " << modelThreshold(model);
        } catch (const ModelError& error) {
            EXPECT_EQ(std::string(error.what()).rfind("bad model card: " + modelCard(model) + ": expected ", 0), 0u)
                << error.what();
        }
    }
    std::filesystem::remove(pathOf(modelCard(model)));
    std::filesystem::create_directory(pathOf(modelCard(model)));
    EXPECT_THROW(modelThreshold(model), ModelError);
}

}  // namespace
}  // namespace KaTessel::tests
