// Reading weight files: what a good one yields, and that a broken one fails without harm.
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/LayerWeights.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/Random.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

// Three layers: one with two tensors, one without any, one of rank 4.
WeightFileWriter smallFile() {
    WeightFileWriter writer;
    writer.add("first", {countingTensor({2, 3}, 1.0f), countingTensor({3}, -3.0f)});
    writer.add("no tensors", {});
    writer.add("Rank 4", {countingTensor({2, 1, 2, 2}, 0.5f)});
    return writer;
}

TEST(PlainLayerFile, HoldsWhatTheFileSays) {
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    saveBytes(path, smallFile().bytes() + "anything behind the last layer");
    LayerFile file;
    std::string why;
    ASSERT_TRUE(file.read(path, &why)) << why;
    ASSERT_EQ(file.layerCount(), 3);
    const T_FileLayerWeights* layers = file.layers();
    EXPECT_EQ(layers[0].name, "first");
    ASSERT_EQ(layers[0].tensorCount, 2);
    EXPECT_EQ(layers[0].tensors[0].rank, 2);
    EXPECT_EQ(layers[0].tensors[0].dimensions[0], 2);
    EXPECT_EQ(layers[0].tensors[0].dimensions[1], 3);
    ASSERT_EQ(layers[0].tensors[0].count, 6);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(layers[0].tensors[0].values[i], 1.0f + static_cast<float>(i));
    ASSERT_EQ(layers[0].tensors[1].count, 3);
    EXPECT_EQ(layers[0].tensors[1].values[2], -1.0f);
    EXPECT_EQ(layers[1].tensorCount, 0);
    EXPECT_EQ(layers[1].tensors, nullptr);
    ASSERT_EQ(layers[2].tensors[0].rank, 4);
    EXPECT_EQ(layers[2].tensors[0].count, 8);
    EXPECT_EQ(layers[2].tensors[0].values[7], 7.5f);
    for (int l = 0; l < 3; ++l) EXPECT_FALSE(layers[l].loaded);

    // A second file replaces the first; a failed one leaves nothing.
    WeightFileWriter().add("other", {}).save(path);
    ASSERT_TRUE(file.read(path));
    ASSERT_EQ(file.layerCount(), 1);
    EXPECT_EQ(file.layers()[0].name, "other");
    EXPECT_EQ(file.layers()[0].tensorCount, 0);
    LayerFile moved = std::move(file);
    EXPECT_EQ(moved.layerCount(), 1);
    EXPECT_FALSE(moved.read(folder.file("absent"), &why));
    EXPECT_EQ(moved.layerCount(), 0);
    EXPECT_FALSE(why.empty());
}

TEST(PlainLayerFile, NamesAreBytesUpToTheFirstZero) {
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    const std::string longest(255, 'n');
    WeightFileWriter()
        .add(longest, {})
        .add(std::string("cut\0here", 8), {})
        .add("\xc3\xa9t\xc3\xa9", {})
        .add(" ", {})
        .save(path);
    LayerFile file;
    ASSERT_TRUE(file.read(path));
    EXPECT_EQ(file.layers()[0].name, longest);
    EXPECT_EQ(file.layers()[1].name, "cut");
    EXPECT_EQ(file.layers()[2].name, "\xc3\xa9t\xc3\xa9");
    EXPECT_EQ(findFileLayer("cut", file.layerCount(), file.layers()), 1);
    EXPECT_EQ(findFileLayer(" ", file.layerCount(), file.layers()), 3);
    EXPECT_EQ(findFileLayer("", file.layerCount(), file.layers()), -1);
}

TEST(PlainLayerFile, LayerCountsUpToTenThousand) {
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    LayerFile file;
    Bytes().int32(0).save(path);
    EXPECT_TRUE(file.read(path));
    EXPECT_EQ(file.layerCount(), 0);
    for (int count : {10000, 10001}) {
        Bytes bytes;
        bytes.int32(count);
        for (int i = 0; i < count; ++i) bytes.layerHead("x", 0);
        bytes.save(path);
        EXPECT_EQ(file.read(path), count == 10000);
        EXPECT_EQ(file.layerCount(), count == 10000 ? 10000 : 0);
    }
}

// A file of one good layer "first" and, behind it, the bytes of the row.
struct Broken {
    const char* what;
    Bytes bytes;
};

std::vector<Broken> brokenFiles() {
    const StoredTensor good = countingTensor({2, 2}, 1.0f);
    const auto oneMore = [&] { return Bytes().int32(2).layerHead("first", 1).tensor(good); };
    const auto tensorHead = [&](int rank) { return oneMore().layerHead("second", 1).int32(rank); };
    std::vector<Broken> rows = {
        {"more layers than there are", Bytes().int32(3).layerHead("first", 1).tensor(good)},
        {"negative layer count", Bytes().int32(-1).layerHead("first", 1).tensor(good)},
        {"empty name", oneMore().layerHead("", 1).tensor(good)},
        {"negative tensor count", oneMore().layerHead("second", -1).tensor(good)},
        {"2^31 - 1 tensors", oneMore().layerHead("second", 2147483647).tensor(good)},
        {"rank 0", tensorHead(0).floats({1.0f})},
        {"rank -3", tensorHead(-3).floats({1.0f})},
        {"dimension 0", tensorHead(2).int32(0).int32(2).floats({1.0f})},
        {"dimension -2 twice", tensorHead(2).int32(-2).int32(-2).floats({1, 2, 3, 4})},
        {"2^31 - 1 values", tensorHead(1).int32(2147483647).floats({1.0f})},
        {"a product of 2^32", tensorHead(2).int32(65536).int32(65536).floats({1.0f})},
        {"a product of 2^32 + 4", tensorHead(3).int32(4).int32(5).int32(214748365).floats({1, 2, 3, 4})},
        {"a product of 2^64", tensorHead(4).int32(65536).int32(65536).int32(65536).int32(65536).floats({1.0f})},
    };
    // As long as its ten dimensions say, with one rank more than a record holds.
    Bytes eleven = tensorHead(11);
    for (int i = 0; i < 11; ++i) eleven.int32(1);
    rows.push_back({"rank 11", eleven.floats({1.0f})});
    Bytes huge = tensorHead(2147483647);
    for (int i = 0; i < 100; ++i) huge.int32(1);
    rows.push_back({"rank 2^31 - 1", huge});
    return rows;
}

// The first layer of a broken file is not used either: the whole file counts as unreadable.
void expectFailure(const std::string& path, const std::string& what) {
    LayerFile file;
    std::string why;
    const AllocationCounter counter;
    EXPECT_FALSE(file.read(path, &why)) << what;
    // 10000 empty layer records are the most that a short file may cost.
    EXPECT_LT(counter.largestRequest(), 1000000u) << what;
    EXPECT_EQ(file.layerCount(), 0) << what;
    EXPECT_FALSE(why.empty()) << what;

    float *weights = nullptr, *bias = nullptr;
    CapturedStdout captured;
    init_and_load_wb(path, "first", weights, bias, 2, 2);
    EXPECT_EQ(captured.text(), "WARNING: first not loaded!\n") << what;
    ASSERT_NE(bias, nullptr) << what;
    for (int i = 0; i < 4; ++i) EXPECT_EQ(weights[i], 0.0f) << what;
    for (int i = 0; i < 2; ++i) EXPECT_EQ(bias[i], 0.0f) << what;
    delete[] weights;
    delete[] bias;
}

TEST(PlainLayerFile, BrokenFilesFailAsAWhole) {
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    for (const Broken& row : brokenFiles()) {
        row.bytes.save(path);
        expectFailure(path, row.what);
    }
    expectFailure(folder.path(), "a folder");
    expectFailure(folder.file("absent"), "no file");
    expectFailure("", "an empty path");
}

TEST(PlainLayerFile, TruncationAtEveryByteFails) {
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    WeightFileWriter writer = smallFile();
    writer.add("last", {countingTensor({2, 2})});
    const std::string whole = writer.bytes();
    LayerFile file;
    saveBytes(path, whole);
    ASSERT_TRUE(file.read(path));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        saveBytes(path, whole.substr(0, length));
        expectFailure(path, "cut after " + std::to_string(length) + " bytes");
        if (HasFailure()) return;
    }
}

// Random damage: whatever is still accepted must be consistent.
TEST(PlainLayerFile, DamagedFilesAreReadSafely) {
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    const std::string whole = smallFile().bytes();
    Random random(21);
    int accepted = 0;
    for (int round = 0; round < 1000; ++round) {
        std::string bytes = whole;
        for (int hits = random.integer(1, 3); hits > 0; --hits)
            bytes[static_cast<std::size_t>(random.integer(0, static_cast<int>(bytes.size()) - 1))] =
                static_cast<char>(random.integer(0, 3) == 0 ? random.integer(0, 255) : random.integer(0, 8));
        saveBytes(path, bytes);
        LayerFile file;
        if (!file.read(path)) continue;
        ++accepted;
        for (int l = 0; l < file.layerCount(); ++l) {
            const T_FileLayerWeights& layer = file.layers()[l];
            for (int t = 0; t < layer.tensorCount; ++t) {
                const T_FileTensor& tensor = layer.tensors[t];
                ASSERT_GE(tensor.rank, 1);
                ASSERT_LE(tensor.rank, 10);
                long product = 1;
                for (int d = 0; d < tensor.rank; ++d) product *= tensor.dimensions[d];
                ASSERT_EQ(tensor.count, product);
            }
        }
    }
    EXPECT_GT(accepted, 50);  // damage to names and values alone
}

}  // namespace
}  // namespace KaTessel::tests
