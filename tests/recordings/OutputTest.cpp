// What is written: numbers of any size, and a file that grows.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>

#include "recordings/base/OutputFile.h"
#include "recordings/base/Text.h"

using namespace katessel;
namespace fs = std::filesystem;

namespace {

std::string contentOf(const fs::path& path) {
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

TEST(Text, NumbersAreWhole) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(fixedText(0.0625, 3), "0.062");  // exactly half: to the even digit, as printf has it
    EXPECT_EQ(fixedText(-0.0004, 3), "-0.000");
    EXPECT_EQ(fixedText(-nan, 3), "nan");
    EXPECT_EQ(fixedText(std::exp2(107.0), 3), "162259276829213363391578010288128.000");
    EXPECT_EQ(fixedText(-std::numeric_limits<double>::max(), 6).size(), 317u);
    EXPECT_EQ(shortNumber(1e30), "1e+30");
    EXPECT_EQ(shortNumber(0.1234567), "0.123457");
    EXPECT_EQ(leftAligned("ab", 4) + rightAligned("cd", 4) + rightAligned("efghi", 4), "ab    cdefghi");
}

// What has come is in the folder at any time, under another name until it is whole.
TEST(GrowingFile, GrowsAndGetsItsName) {
    const fs::path folder = fs::path(testing::TempDir()) / ("katessel_growing_" + std::to_string(::getpid()));
    fs::create_directory(folder);
    const fs::path name = folder / "track.csv";
    const auto files = [&] { return std::distance(fs::directory_iterator(folder), fs::directory_iterator()); };
    std::ofstream(name) << "old";
    std::optional<GrowingFile> file;
    file.emplace(OutputFile(name.string()), Unfinished::kept);
    EXPECT_EQ(files(), 1);
    file->append("one\n");
    fs::path growing;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder))
        if (entry.path() != name) growing = entry.path();
    EXPECT_EQ(contentOf(growing), "one\n");
    file->append("two\n");
    EXPECT_EQ(contentOf(growing), "one\ntwo\n");
    EXPECT_EQ(contentOf(name), "old");
    file->finish();
    EXPECT_EQ(contentOf(name), "one\ntwo\n");
    EXPECT_EQ(files(), 1);
    // Whoever ends early, by an exception, leaves what has come, or what was there before.
    for (const auto& [unfinished, left] : {std::pair{Unfinished::kept, "three\n"}, {Unfinished::removed, "three\n"}}) {
        file.emplace(OutputFile(name.string()), unfinished);
        file->append(unfinished == Unfinished::kept ? "three\n" : "four\n");
        file.reset();
        EXPECT_EQ(contentOf(name), left);
        EXPECT_EQ(files(), 1);
    }
    fs::remove_all(folder);
}

}  // namespace
