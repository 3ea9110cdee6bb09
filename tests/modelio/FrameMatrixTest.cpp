// Dumps, frame files and statistics files, byte by byte, and that a broken one fails without harm.
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/FrameMatrix.h"
#include "support/AllocationCounter.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

using Frames = std::vector<std::vector<float>>;

std::string contents(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    EXPECT_TRUE(in.is_open()) << path;
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A frame file. 0.005 as float32 is 0x3ba3d70a.
Bytes frameFile(long long count, long long size, const std::vector<float>& values) {
    return Bytes().int32(0x3ba3d70a).int32(count).int32(size).floats(values);
}

// Frames {0, 0.5}, {1, 1.5}, ..
Frames ramp(int n) {
    Frames frames;
    for (int t = 0; t < n; ++t) frames.push_back({static_cast<float>(t), static_cast<float>(t) + 0.5f});
    return frames;
}

TEST(PlainFrameMatrix, DumpedFrames) {
    const TemporaryFolder folder;
    const Frames ten = ramp(10);
    struct Row {
        const char* what;
        int skipAtStart, skipAtEnd, first, last;
    };
    const Row rows[] = {
        {"no skip", 0, 0, 0, 9},
        {"both ends", 2, 3, 2, 6},
        {"one remains", 4, 5, 4, 4},
        {"the end gives way to the start", 7, 20, 7, 7},
        {"a start behind the last", 20, 0, 9, 9},
        {"an end before the first", 0, 20, 0, 0},
        {"largest skips", INT_MAX, INT_MAX, 9, 9},
        {"negative skips", -3, -2, 0, 9},
        {"smallest skips", INT_MIN, INT_MIN, 0, 9},
    };
    for (const Row& row : rows) {
        Bytes expected = frameFile(10, 2, {});
        for (int t = row.first; t <= row.last; ++t) expected.floats(ten[static_cast<std::size_t>(t)]);
        write_data(folder.file("dump"), ten, row.skipAtStart, row.skipAtEnd);
        EXPECT_EQ(contents(folder.file("dump")), expected.get()) << row.what;
    }
    // Frame 0 decides on the size.
    write_data(folder.file("dump"), Frames{{1, 2}, {3, 4, 5}, {6}, {}, {7, 8}}, 1, 0);
    EXPECT_EQ(contents(folder.file("dump")), frameFile(5, 2, {3, 4, 6, 0, 0, 0, 7, 8}).get());
    write_data(folder.file("dump"), Frames{{}, {1, 2}}, 0, 0);
    EXPECT_EQ(contents(folder.file("dump")), frameFile(2, 0, {}).get());
    write_data(folder.file("dump"), Frames{}, 3, 4);
    EXPECT_EQ(contents(folder.file("dump")), frameFile(0, 0, {}).get());
}

TEST(PlainFrameMatrix, DumpedVectors) {
    const TemporaryFolder folder;
    std::vector<float> values = {10, 11, 12, 13, 14};
    struct Row {
        int skipAtStart, skipAtEnd;
        std::vector<float> written;
    };
    const Row rows[] = {
        {0, 0, values}, {1, 2, {11, 12}}, {4, 0, {14}},   {0, 4, {10}},         {3, 2, {}},
        {9, 0, {}},     {0, 9, {}},       {-1, 0, {}},    {0, -1, {}},          {-1, 1, {}},
        {7, -7, {}},    {-7, 7, {}},      {INT_MIN, 0, {}}, {INT_MAX, INT_MAX, {}}, {INT_MIN, INT_MIN, {}},
    };
    for (const Row& row : rows) {
        write_data(folder.file("dump"), values, row.skipAtStart, row.skipAtEnd);
        EXPECT_EQ(contents(folder.file("dump")), frameFile(5, 1, row.written).get())
            << row.skipAtStart << ", " << row.skipAtEnd;
    }
    write_data(folder.file("dump"), values.data(), 3);
    EXPECT_EQ(contents(folder.file("dump")), frameFile(3, 1, {10, 11, 12}).get());
    write_data(folder.file("dump"), values.data(), -1);
    EXPECT_EQ(contents(folder.file("dump")), frameFile(0, 1, {}).get());
    write_data(folder.file("dump"), static_cast<float*>(nullptr), 0);
    EXPECT_EQ(contents(folder.file("dump")), frameFile(0, 1, {}).get());
}

TEST(PlainFrameMatrix, FoldersAreMadeAndFailuresReported) {
    const TemporaryFolder folder;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder.path());
    for (const char* path : {"./plot/_net_", "plain", "a/b//c/dump"}) {
        write_data(path, ramp(1), 0, 0);
        EXPECT_EQ(contents(path), frameFile(1, 2, {0, 0.5f}).get()) << path;
    }
    std::filesystem::current_path(before);

    struct Row {
        std::string path;
        const char* reason;
    };
    // A full disk shows when the file is closed, and while it is being written.
    const std::vector<float> large(100000);
    for (const Row& row : {Row{folder.file("plot"), "Is a directory"}, Row{folder.file("plain/x"), "Not a directory"},
                           Row{"", "No such file or directory"}, Row{"/dev/full", "No space left on device"}})
        for (const std::vector<float>& values : {std::vector<float>{1.0f}, large}) {
            CapturedStdout captured;
            write_data(row.path, values, 0, 0);
            EXPECT_EQ(captured.text(), "WARNING: " + row.path + " not written: " + row.reason + "\n");
        }
}

// A caller's three variables; a failed call must leave them as they were.
struct Context {
    Frames frames = {{-1.0f}};
    float period = -1.0f;
    int size = -1;
    bool load(const std::string& path) { return loadContext(path, frames, period, size); }
};

void expectNoContext(const std::string& path, const std::string& what) {
    Context context;
    const AllocationCounter counter;
    CapturedStdout captured;
    EXPECT_FALSE(context.load(path)) << what;
    EXPECT_LT(counter.largestRequest(), 10000u) << what;  // the files are tiny
    EXPECT_EQ(captured.text(), "") << what;
    EXPECT_EQ(context.frames, Frames{{-1.0f}}) << what;
    EXPECT_EQ(context.period, -1.0f) << what;
    EXPECT_EQ(context.size, -1) << what;
}

TEST(PlainFrameMatrix, ContextsAreAppended) {
    const TemporaryFolder folder;
    const std::string path = folder.file("context");
    Context context;
    saveBytes(path, Bytes().floats({0.25f}).int32(2).int32(3).floats({1, 2, 3, 4, 5, 6, 7, 8, 9}).get());
    ASSERT_TRUE(context.load(path));
    ASSERT_TRUE(context.load(path));
    EXPECT_EQ(context.frames, (Frames{{-1}, {1, 2, 3}, {4, 5, 6}, {1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(context.period, 0.25f);
    EXPECT_EQ(context.size, 3);
    // A dump is a context.
    write_data(path, ramp(7), 0, 0);
    context.frames.clear();
    ASSERT_TRUE(context.load(path));
    EXPECT_EQ(context.frames, ramp(7));
    EXPECT_EQ(context.period, 0.005f);
    EXPECT_EQ(context.size, 2);
}

TEST(PlainFrameMatrix, ContextsHaveLimits) {
    const TemporaryFolder folder;
    const std::string path = folder.file("context");
    struct Row {
        long long count, size;
        bool accepted;
    };
    for (const Row& row : {Row{100000, 1, true}, Row{100001, 1, false}, Row{100000, 0, true}, Row{100001, 0, false},
                           Row{3, 1000, true}, Row{3, 1001, false}, Row{0, 1000, true}, Row{0, 1001, false},
                           Row{-1, 1, false}, Row{1, -1, false}, Row{-2, -2, false}, Row{0, 0, true}}) {
        const std::string what = std::to_string(row.count) + " x " + std::to_string(row.size);
        const long long values = std::max(row.count * row.size, 4ll);
        frameFile(row.count, row.size, std::vector<float>(static_cast<std::size_t>(values), 2.0f)).save(path);
        if (!row.accepted) {
            expectNoContext(path, what);
            continue;
        }
        Context context;
        EXPECT_TRUE(context.load(path)) << what;
        EXPECT_EQ(context.frames.size(), static_cast<std::size_t>(row.count) + 1) << what;
        EXPECT_EQ(context.frames.back().size(), row.count > 0 ? static_cast<std::size_t>(row.size) : 1u) << what;
        EXPECT_EQ(context.size, row.size) << what;
    }
}

TEST(PlainFrameMatrix, BrokenContextsChangeNothing) {
    const TemporaryFolder folder;
    const std::string path = folder.file("context");
    const std::string whole = frameFile(3, 2, {1, 2, 3, 4, 5, 6}).get();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        saveBytes(path, whole.substr(0, length));
        expectNoContext(path, "cut after " + std::to_string(length) + " bytes");
    }
    frameFile(100000, 1000, {1, 2, 3}).save(path);
    expectNoContext(path, "a tiny file of 400 MB");
    write_data(path, ramp(10), 2, 3);
    expectNoContext(path, "a trimmed dump");
    expectNoContext(folder.file("absent"), "no file");
    expectNoContext(folder.path(), "a folder");
}

void expectNoStats(const std::string& path, const std::string& reason) {
    const AllocationCounter counter;
    CapturedStdout captured;
    EXPECT_TRUE(read_stats(path).empty()) << reason;
    EXPECT_EQ(captured.text(), "WARNING: " + path + " not loaded: it " + reason + "\n");
    EXPECT_LT(counter.largestRequest(), 10000u) << reason;
}

TEST(PlainFrameMatrix, Statistics) {
    const TemporaryFolder folder;
    const std::string path = folder.file("stats");
    Bytes().int32(2).int32(3).floats({1, 2, 3, 4, 5, 6, 7}).save(path);
    EXPECT_EQ(read_stats(path), (Frames{{1, 2, 3}, {4, 5, 6}}));
    Bytes().int32(1).int32(2000).floats(std::vector<float>(2000, 2.0f)).save(path);
    EXPECT_EQ(read_stats(path), Frames{std::vector<float>(2000, 2.0f)});
    {
        CapturedStdout captured;
        Bytes().int32(0).int32(3).save(path);
        EXPECT_EQ(read_stats(path), Frames{});
        EXPECT_EQ(captured.text(), "");  // no rows are no damage
    }

    struct Row {
        Bytes bytes;
        const char* reason;
    };
    const std::vector<float> values = {1, 2, 3, 4};
    const Row rows[] = {
        {Bytes(), "ends within the row count"},
        {Bytes().int32(2).byte(2), "ends within the row length"},
        {Bytes().int32(2).int32(2).floats({1, 2, 3}).text("abc"), "claims 2 rows of 2 values, more than it holds"},
        {Bytes().int32(-2).int32(-2).floats(values), "claims -2 rows of -2 values"},
        {Bytes().int32(-1).int32(4).floats(values), "claims -1 rows of 4 values"},
        {Bytes().int32(1).int32(-4).floats(values), "claims 1 rows of -4 values"},
        {Bytes().int32(INT_MAX).int32(0), "claims 2147483647 rows of 0 values"},
        {Bytes().int32(INT_MAX).int32(1).floats(values), "claims 2147483647 rows of 1 values, more than it holds"},
        // 2^32 values and 2^62 values: as 32-bit and 64-bit byte counts, zero.
        {Bytes().int32(65536).int32(65536).floats(values), "claims 65536 rows of 65536 values, more than it holds"},
        {Bytes().int32(INT_MAX).int32(INT_MAX).floats(values),
         "claims 2147483647 rows of 2147483647 values, more than it holds"},
    };
    for (const Row& row : rows) {
        row.bytes.save(path);
        expectNoStats(path, row.reason);
    }
    expectNoStats(folder.file("absent"), "cannot be opened");
}

}  // namespace
}  // namespace KaTessel::tests
