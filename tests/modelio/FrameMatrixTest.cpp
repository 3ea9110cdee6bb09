// Dumps, frame files and statistics files, byte by byte, and what short and broken ones give.
#include <unistd.h>

#include <climits>
#include <fstream>
#include <functional>
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

TEST_F(PlainFrameMatrix, Dumps) {
    Frames ten;
    for (int t = 0; t < 10; ++t) ten.push_back({static_cast<float>(t), static_cast<float>(t) + 0.5f});
    // One frame remains: the start gives way first, then the end.
    for (const auto& [skipAtStart, skipAtEnd, first, last] :
         {std::tuple(2, 3, 2, 6), {7, 20, 7, 7}, {-3, -2, 0, 9}, {INT_MAX, INT_MAX, 9, 9}}) {
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

    Values values = {10, 11, 12, 13, 14};
    for (const auto& [skipAtStart, skipAtEnd, written] :
         {std::tuple(1, 2, Values{11, 12}), {3, 2, {}}, {-1, 0, {}}, {0, -1, {}}, {INT_MAX, INT_MAX, {}}}) {
        write_data(path, values, skipAtStart, skipAtEnd);
        EXPECT_EQ(contents(), frameFile(5, 1, written).get()) << skipAtStart << ", " << skipAtEnd;
    }
    write_data(path, values.data(), 3);
    EXPECT_EQ(contents(), frameFile(3, 1, {10, 11, 12}).get());
}

TEST_F(PlainFrameMatrix, UnwritablePathsAreReported) {
    // A full disk shows when a small file is closed, and while a large one is being written.
    for (const auto& [where, n, reason] : {std::tuple(folder.path(), 1u, "Is a directory"),
                                           {"/dev/full", 1u, "No space left on device"},
                                           {"/dev/full", 100000u, "No space left on device"}}) {
        CapturedStdout captured;
        write_data(where, Values(n), 0, 0);
        EXPECT_EQ(captured.text(), "WARNING: " + where + " not written: " + reason + "\n");
    }
}

// Bytes that come out of a pipe, which has no size and cannot be read twice.
class Pipe {
public:
    explicit Pipe(const std::string& bytes) {
        EXPECT_EQ(pipe(m_ends), 0);
        EXPECT_EQ(write(m_ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(m_ends[1]);
    }
    ~Pipe() { close(m_ends[0]); }
    std::string path() const { return "/dev/fd/" + std::to_string(m_ends[0]); }

private:
    int m_ends[2] = {-1, -1};
};

// What loadContext appends to what is there. A failed call must leave the caller's three variables as they were.
bool loads(const std::string& path, Frames& read) {
    read = {{-1.0f}};
    float period = -1.0f;
    int size = -1;
    const bool loaded = loadContext(path, read, period, size);
    EXPECT_EQ(period, loaded ? 0.005f : -1.0f);
    EXPECT_EQ(read.front(), Values{-1.0f});
    read.erase(read.begin());
    EXPECT_TRUE(loaded || (read.empty() && size == -1));
    EXPECT_TRUE(read.empty() || static_cast<int>(read.back().size()) == size);
    return loaded;
}

// What is announced is delivered: values that are not there are 0.
TEST_F(PlainFrameMatrix, ContextsAreAsLongAsTheySay) {
    Frames frames, ten;
    for (int t = 0; t < 10; ++t) ten.push_back({static_cast<float>(t + 1), 0.5f});
    write_data(path, ten, 2, 3);
    Frames expected(ten.begin() + 2, ten.begin() + 7);
    expected.resize(10, {0, 0});
    EXPECT_TRUE(loads(path, frames));
    EXPECT_EQ(frames, expected);

    const std::string whole = frameFile(3, 2, {1, 2, 3, 4, 5, 6}).get() + "anything behind the last frame";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        ASSERT_EQ(loads(Pipe(whole.substr(0, length)).path(), frames), length >= 12) << "cut after " << length;
        for (std::size_t i = 0; i < 6 && length >= 12; ++i)
            EXPECT_EQ(frames[i / 2][i % 2], (length - 12) / 4 > i ? static_cast<float>(i + 1) : 0.0f)
                << length << ", value " << i;
    }
    // No more than the counts that are allowed: 100,000 frames of 1000 values would be 400 MB.
    for (const auto& [count, size, accepted] : {std::tuple(100000, 1, true),
                                                {100001, 0, false},
                                                {3, 1000, true},
                                                {0, 1001, false},
                                                {-1, 1, false},
                                                {1, -1, false},
                                                {3, 0, true}}) {
        EXPECT_EQ(loads(Pipe(frameFile(count, size, {1, 2}).get()).path(), frames), accepted) << count << " x " << size;
        EXPECT_EQ(frames.size(), accepted ? static_cast<std::size_t>(count) : 0u);
    }
    EXPECT_FALSE(loads(folder.file("absent"), frames));
    EXPECT_FALSE(loads(folder.path(), frames));
}

TEST_F(PlainFrameMatrix, Statistics) {
    // Without a reason: read in silence.
    for (const auto& [bytes, reason, expected] :
         {std::tuple(Bytes().int32(2).int32(3).floats({1, 2, 3, 4, 5, 6, 7}), "", Frames{{1, 2, 3}, {4, 5, 6}}),
          {Bytes().int32(0).int32(3), "", {}},
          {Bytes().int32(3).int32(0), "", Frames(3)},
          {Bytes().int32(2).int32(2).floats({1, 2, 3}).byte(77), "", {{1, 2}, {3, 0}}},
          {Bytes().int32(1000000).int32(0), "", Frames(1000000)},
          {Bytes(), "ends within the row count", {}},
          {Bytes().int32(2).byte(2), "ends within the row length", {}},
          {Bytes().int32(-2).int32(-2), "claims -2 rows of -2 values", {}},
          {Bytes().int32(INT_MAX).int32(0), "claims 2147483647 rows of 0 values", {}},
          {Bytes().int32(1).int32(99999995), "claims 1 rows of 99999995 values", {}},
          // 2^32 values: as a 32-bit byte count, zero.
          {Bytes().int32(65536).int32(65536), "claims 65536 rows of 65536 values", {}}}) {
        const Pipe in(bytes.get());
        const AllocationCounter counter;
        CapturedStdout captured;
        EXPECT_TRUE(read_stats(in.path()) == expected) << reason;
        EXPECT_LT(counter.largestRequest(), 30000000u) << reason;
        EXPECT_EQ(captured.text(), *reason == '\0' ? "" : "WARNING: " + in.path() + " not loaded: it " + reason + "\n");
    }
}

}  // namespace
}  // namespace KaTessel::tests
