// Dumps, frame files and statistics files, byte by byte, and that a broken one fails without harm.
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FrameMatrix.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

using Values = std::vector<float>;
using Frames = std::vector<Values>;

class PlainFrameMatrix : public testing::Test {
protected:
    std::string contents() const {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    const TemporaryFolder folder;
    const std::string path = folder.file("a/b//matrix");  // in folders that the first dump makes
};

// A frame file. 0.005 as float32 is 0x3ba3d70a.
Bytes frameFile(long long count, long long size, const Values& values) {
    return Bytes().int32(0x3ba3d70a).int32(count).int32(size).floats(values);
}

TEST_F(PlainFrameMatrix, DumpedFrames) {
    Frames ten;
    for (int t = 0; t < 10; ++t) ten.push_back({static_cast<float>(t), static_cast<float>(t) + 0.5f});
    // One frame remains: the start gives way first, then the end.
    for (const auto& [skipAtStart, skipAtEnd, first, last] :
         {std::tuple(2, 3, 2, 6), {7, 20, 7, 7}, {20, 0, 9, 9}, {-3, -2, 0, 9}, {INT_MAX, INT_MAX, 9, 9}}) {
        Bytes expected = frameFile(10, 2, {});
        for (int t = first; t <= last; ++t) expected.floats(ten[static_cast<std::size_t>(t)]);
        write_data(path, ten, skipAtStart, skipAtEnd);
        EXPECT_EQ(contents(), expected.get()) << skipAtStart << ", " << skipAtEnd;
    }
    // Frame 0 decides on the size.
    write_data(path, Frames{{1, 2}, {3, 4, 5}, {6}, {}, {7, 8}}, 1, 0);
    EXPECT_EQ(contents(), frameFile(5, 2, {3, 4, 6, 0, 0, 0, 7, 8}).get());
    write_data(path, Frames{}, 3, 4);
    EXPECT_EQ(contents(), frameFile(0, 0, {}).get());
}

TEST_F(PlainFrameMatrix, DumpedVectors) {
    Values values = {10, 11, 12, 13, 14};
    for (const auto& [skipAtStart, skipAtEnd, written] :
         {std::tuple(0, 0, values), {1, 2, Values{11, 12}}, {4, 0, Values{14}}, {3, 2, Values{}}, {-1, 0, Values{}},
          {0, -1, Values{}}, {INT_MAX, INT_MAX, Values{}}}) {
        write_data(path, values, skipAtStart, skipAtEnd);
        EXPECT_EQ(contents(), frameFile(5, 1, written).get()) << skipAtStart << ", " << skipAtEnd;
    }
    write_data(path, values.data(), 3);
    EXPECT_EQ(contents(), frameFile(3, 1, {10, 11, 12}).get());
}

TEST_F(PlainFrameMatrix, UnwritablePathsAreReported) {
    // A full disk shows when a small file is closed, and while a large one is being written.
    for (const auto& [where, n, reason] : {std::tuple(folder.path(), 1u, "Is a directory"),
                                           {"", 1u, "No such file or directory"},
                                           {"/dev/full", 1u, "No space left on device"},
                                           {"/dev/full", 100000u, "No space left on device"}}) {
        CapturedStdout captured;
        write_data(where, Values(n), 0, 0);
        EXPECT_EQ(captured.text(), "WARNING: " + where + " not written: " + reason + "\n");
    }
}

TEST_F(PlainFrameMatrix, ContextsAreAppended) {
    write_data(path, Frames{{1, 2, 3}, {4, 5, 6}}, 0, 0);
    saveBytes(path, contents() + "anything behind the last frame");
    Frames frames = {{-1}};
    float period = -1.0f;
    int size = -1;
    EXPECT_TRUE(loadContext(path, frames, period, size));
    EXPECT_TRUE(loadContext(path, frames, period, size));
    EXPECT_EQ(frames, (Frames{{-1}, {1, 2, 3}, {4, 5, 6}, {1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(period, 0.005f);
    EXPECT_EQ(size, 3);
}

// A failed call must leave the caller's three variables as they were.
bool loads(const std::string& path) {
    Frames frames = {{-1.0f}};
    float period = -1.0f;
    int size = -1;
    const AllocationCounter counter;
    if (loadContext(path, frames, period, size)) return true;
    EXPECT_LT(counter.largestRequest(), 10000u);  // broken files are tiny
    EXPECT_TRUE(frames == Frames{{-1.0f}} && period == -1.0f && size == -1);
    return false;
}

TEST_F(PlainFrameMatrix, BrokenContextsChangeNothing) {
    write_data(path, Frames(10, {1, 2}), 2, 3);
    EXPECT_FALSE(loads(path));  // a trimmed dump
    EXPECT_FALSE(loads(folder.file("absent")));
    EXPECT_FALSE(loads(folder.path()));
    const std::string whole = frameFile(3, 2, {1, 2, 3, 4, 5, 6}).get();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        saveBytes(path, whole.substr(0, length));
        EXPECT_FALSE(loads(path)) << "cut after " << length << " bytes";
    }
    // The file of 400 MB holds eight bytes of values.
    for (const auto& [count, size, values, accepted] :
         {std::tuple(100000, 1, 100000u, true), {100001, 0, 2u, false}, {3, 1000, 3000u, true}, {0, 1001, 2u, false},
          {-1, 1, 2u, false}, {1, -1, 2u, false}, {0, 0, 0u, true}, {100000, 1000, 2u, false}}) {
        frameFile(count, size, Values(values)).save(path);
        EXPECT_EQ(loads(path), accepted) << count << " x " << size;
    }
}

TEST_F(PlainFrameMatrix, Statistics) {
    const std::string file = folder.file("stats");
    const Values values = {1, 2, 3, 4, 5, 6, 7};
    // Without a reason: read in silence. No rows are no damage.
    for (const auto& [bytes, reason, expected] :
         {std::tuple(Bytes().int32(2).int32(3).floats(values), "", Frames{{1, 2, 3}, {4, 5, 6}}),
          {Bytes().int32(0).int32(3), "", {}},
          {Bytes(), "ends within the row count", {}},
          {Bytes().int32(2).byte(2), "ends within the row length", {}},
          {Bytes().int32(2).int32(4).floats(values), "claims 2 rows of 4 values, more than it holds", {}},
          {Bytes().int32(-2).int32(-2).floats(values), "claims -2 rows of -2 values", {}},
          {Bytes().int32(INT_MAX).int32(0), "claims 2147483647 rows of 0 values", {}},
          // 2^32 values: as a 32-bit byte count, zero.
          {Bytes().int32(65536).int32(65536), "claims 65536 rows of 65536 values, more than it holds", {}}}) {
        bytes.save(file);
        const AllocationCounter counter;
        CapturedStdout captured;
        EXPECT_EQ(read_stats(file), expected) << reason;
        EXPECT_LT(counter.largestRequest(), 10000u) << reason;
        EXPECT_EQ(captured.text(), *reason == '\0' ? "" : "WARNING: " + file + " not loaded: it " + reason + "\n");
    }
}

}  // namespace
}  // namespace KaTessel::tests
