// Reading weight files: what a good one yields, and that a broken one fails without harm.
#ifndef _WIN32
#include <sys/stat.h>
#endif

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/LayerWeights.h"
#include "support/AllocationCounter.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

class PlainLayerFile : public testing::Test {
protected:
    const TemporaryFolder folder;
    const std::string path = folder.file("weights");
    // One layer with two tensors and one of rank 4.
    const std::string whole = WeightFileWriter()
                                  .add("first", {countingTensor({2, 3}, 1.0f), countingTensor({3}, -3.0f)})
                                  .add("Rank 4", {countingTensor({2, 1, 2, 2}, 0.5f)})
                                  .bytes();
};

// The records, written again.
std::string rewritten(const LayerFile& file) {
    WeightFileWriter writer;
    for (int l = 0; l < file.layerCount(); ++l) {
        const T_FileLayerWeights& layer = file.layers()[l];
        std::vector<StoredTensor> tensors;
        for (const T_FileTensor* t = layer.tensors; t != layer.tensors + layer.tensorCount; ++t)
            tensors.push_back({{t->dimensions, t->dimensions + t->rank}, {t->values, t->values + t->count}});
        EXPECT_FALSE(layer.loaded);
        writer.add(layer.name, tensors);
    }
    return writer.bytes();
}

TEST_F(PlainLayerFile, HoldsWhatTheFileSays) {
    LayerFile file;
    saveBytes(path, whole + "anything behind the last layer");
    ASSERT_TRUE(file.read(path));
    EXPECT_EQ(rewritten(file), whole);
    // A second file replaces the first.
    WeightFileWriter().add("other", {}).save(path);
    ASSERT_TRUE(file.read(path));
    EXPECT_EQ(file.layerCount(), 1);
    LayerFile moved = std::move(file);
    EXPECT_EQ(moved.layers()[0].name, "other");
    EXPECT_EQ(LayerFile().layers(), nullptr);
}

#ifndef _WIN32

// From memory that is gone afterwards and through a pipe, with the places of everything.
TEST_F(PlainLayerFile, ReadsMemoryAndPipesAndTellsPlaces) {
    std::string bytes = whole + "end";
    const std::string pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    std::thread writer([&] { saveBytes(pipe, bytes); });
    LayerFile fromPipe, file;
    EXPECT_TRUE(fromPipe.read(pipe));
    writer.join();
    ASSERT_TRUE(file.read(bytes.data(), bytes.size()));
    bytes.assign(bytes.size(), 'x');
    for (const LayerFile* read : {&file, &fromPipe}) {
        EXPECT_EQ(rewritten(*read), whole);
        EXPECT_EQ(read->size(), static_cast<std::int64_t>(whole.size() + 3));
        EXPECT_EQ(read->end(), static_cast<std::int64_t>(whole.size()));
        const T_FileLayerWeights& layer = read->layers()[1];
        EXPECT_EQ(whole.substr(static_cast<std::size_t>(layer.offset), 7), "\006Rank 4");
        EXPECT_EQ(layer.nameLength, 6);
        const T_FileTensor& tensor = layer.tensors[0];
        EXPECT_EQ(whole[static_cast<std::size_t>(tensor.offset)], 4);
        const std::string values = Bytes().floats({tensor.values, tensor.values + 8}).get();
        EXPECT_EQ(whole.substr(static_cast<std::size_t>(tensor.valuesOffset()), values.size()), values);
    }
    std::string why;
    EXPECT_FALSE(file.read(nullptr, 0, &why));
    EXPECT_EQ(why, "ends within the layer count");
    EXPECT_FALSE(file.read(whole.data(), 49, &why));
    EXPECT_EQ(why, "claims [2,3] values in layer \"first\", tensor 0, with 23 bytes left");
    EXPECT_EQ(file.end(), 22) << "where the 3 stands";
}

#endif

TEST_F(PlainLayerFile, NamesMatchExactlyAndTheFirstWins) {
    const std::string longest(255, 'n'), cut("cut\0here", 8);
    WeightFileWriter().add(cut, {}).add("twice", {}).add("Twice", {}).add("twice", {}).add(longest, {}).save(path);
    LayerFile file;
    ASSERT_TRUE(file.read(path));
    // Names are bytes, up to the first zero.
    for (const auto& [name, index] :
         {std::pair(std::string("cut"), 0), {"twice", 1}, {"Twice", 2}, {longest, 4}, {"twic", -1}, {"", -1}})
        EXPECT_EQ(findFileLayer(name, 5, file.layers()), index) << name;
    EXPECT_EQ(findFileLayer("Twice", 2, file.layers()), -1);
}

TEST_F(PlainLayerFile, LayerCountsUpToTenThousand) {
    LayerFile file;
    for (const auto& [count, accepted] : {std::pair(0, true), {10000, true}, {10001, false}}) {
        Bytes bytes;
        bytes.int32(count);
        for (int i = 0; i < count; ++i) bytes.layerHead("x", 0);
        bytes.save(path);
        EXPECT_EQ(file.read(path), accepted) << count;
        EXPECT_EQ(file.layerCount(), accepted ? count : 0);
    }
}

// A failed file leaves nothing, not even its good layers.
void expectFailure(const std::string& path, const std::string& what) {
    LayerFile file;
    std::string why;
    const AllocationCounter counter;
    EXPECT_FALSE(file.read(path, &why)) << what;
    EXPECT_LT(counter.largestRequest(), 10000u) << what;  // the files are tiny
    EXPECT_EQ(file.layerCount(), 0) << what;
    EXPECT_FALSE(why.empty()) << what;
}

TEST_F(PlainLayerFile, BrokenFilesFailAsAWhole) {
    const StoredTensor good = countingTensor({2, 2}, 1.0f);
    const auto second = [&](const char* name, int tensors) {
        return Bytes().int32(2).layerHead("first", 1).tensor(good).layerHead(name, tensors);
    };
    for (const auto& [what, bytes] : {
             std::pair("more layers than there are", Bytes().int32(3).layerHead("first", 1).tensor(good)),
             {"negative layer count", Bytes().int32(-1).layerHead("first", 1).tensor(good)},
             {"empty name", second("", 1).tensor(good)},
             {"negative tensor count", second("second", -1).tensor(good)},
             {"2^31 - 1 tensors", second("second", 2147483647).tensor(good)},
             {"rank 0", second("second", 1).int32(0).floats({1.0f})},
             {"rank 11", second("second", 1).tensor(countingTensor(std::vector<int>(11, 1)))},
             {"dimension 0", second("second", 1).int32(2).int32(0).int32(2).floats({1.0f})},
             {"dimension -2 twice", second("second", 1).int32(2).int32(-2).int32(-2).floats({1, 2, 3, 4})},
             {"2^31 - 1 values", second("second", 1).int32(1).int32(2147483647).floats({1.0f})},
             {"2^32 values", second("second", 1).int32(2).int32(65536).int32(65536).floats({1.0f})},
         }) {
        bytes.save(path);
        expectFailure(path, what);
    }
    for (std::size_t length = 0; length < whole.size(); ++length) {
        saveBytes(path, whole.substr(0, length));
        expectFailure(path, "cut after " + std::to_string(length) + " bytes");
    }
    expectFailure(folder.path(), "a folder");
    expectFailure(folder.file("absent"), "no file");
}

}  // namespace
}  // namespace KaTessel::tests
