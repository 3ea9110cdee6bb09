// Parameter files: what each kind of line becomes, look-ups of every type, and taking strings apart.
#include <locale>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "katessel/IniFile.h"
#include "support/CapturedStdout.h"
#include "support/TemporaryFolder.h"
#include "support/WeightFileWriter.h"

namespace KaTessel::tests {
namespace {

using Strings = std::vector<std::string>;

std::vector<TINISECTION> sectionsOf(const std::string& text) {
    const TemporaryFolder folder;
    saveBytes(folder.file("ini"), text);
    std::vector<TINISECTION> sections;
    EXPECT_TRUE(loadIni(folder.file("ini"), sections));
    return sections;
}

// Sections as one line of text: "name: key value | key value; name: ..".
std::string outline(const std::vector<TINISECTION>& sections) {
    std::string all;
    for (const TINISECTION& section : sections) {
        all += (all.empty() ? "" : "; ") + section.name + ":";
        for (std::size_t e = 0; e < section.entries.size(); ++e) {
            if (e > 0) all += " |";
            for (const std::string& token : section.entries[e]) all += " " + token;
        }
    }
    return all;
}

TEST(PlainIniFile, EveryKindOfLine) {
    for (const auto& [text, expected] : {
             std::pair("lost 1\n[a]\nkept 2", "a: kept 2"),  // the last line needs no end
             {" \t [encoder] \t\r\n\tnlayers \t 10 \r\n", "encoder: nlayers 10"},
             {"]x[b c]] 1\nshape [2]\nx 1\n", "b c:; 2: x 1"},
             {"[a]\n[b\nb]\n]b[\n", "a: [b | b] | ]b["},
             {"[]\nx 1\n[ a ]\n", ": x 1;  a :"},
             {"[a]\n\n \t\r\n#x 1\n  # [b] 2\nkey # value\n", "a: key # value"},
             {"[a]\nalone\nx = 3\nx\v1\f2\n", "a: alone | x = 3 | x 1 2"},
             {"[a]\nx 1\n[b]\n[a]\nx 2\n", "a: x 1; b:; a: x 2"},
         })
        EXPECT_EQ(outline(sectionsOf(text)), expected) << text;
}

TEST(PlainIniFile, LoadingAppendsOrLeavesAlone) {
    const TemporaryFolder folder;
    saveBytes(folder.file("ini"), "[b]\nx 1\n");
    std::vector<TINISECTION> sections = {{"a", {}}};
    EXPECT_TRUE(loadIni(folder.file("ini"), sections));
    for (const std::string& path : {folder.file("absent"), folder.path()}) {
        CapturedStdout captured;
        EXPECT_FALSE(loadIni(path, sections));
        EXPECT_EQ(captured.text(), "error reading file " + path + "\n");
        EXPECT_EQ(outline(sections), "a:; b: x 1") << path;
    }
}

TEST(PlainIniFile, LookUpsFindTheLastValueOfTheFirstSection) {
    const std::vector<TINISECTION> sections = sectionsOf(
        "[empty]\n[a]\nalone\nx 1\nx 2 3\nX 4\ngone 5\ngone\n[a]\nother 6\n[blank]\n\f\nx 7\n[last]\nx 8\n\f\n");
    EXPECT_EQ(ini_findsection(sections, "a"), 1);
    // Without a value: not found. The first line of "blank" is white space, but no blank line.
    for (const auto& [section, key, value] : {std::tuple("a", "x", "2"),
                                              {"a", "X", "4"},
                                              {"last", "x", "8"},
                                              {"a", "alone", ""},
                                              {"a", "gone", ""},
                                              {"a", "other", ""},
                                              {"A", "x", ""},
                                              {"empty", "x", ""},
                                              {"blank", "x", ""}}) {
        std::string got;
        EXPECT_EQ(ini_read_param(sections, section, key, got), *value != '\0') << section << ", " << key;
        EXPECT_EQ(got, value) << section << ", " << key;
    }
}

// Reads `text` into `value`, which must become `expected`; `message` is what that throws.
template <typename Value>
void expectReads(const std::string& text, Value value, const Value& expected, const std::string& message = "") {
    std::string thrown;
    try {
        ini_read_param({{"a", {{"key", text}}}}, "a", "key", value);
    } catch (const std::runtime_error& error) {
        thrown = error.what();
    }
    EXPECT_EQ(value, expected) << text;
    EXPECT_EQ(thrown, message) << text;
}

template <typename Value>
void expectThrows(const std::string& text, const Value& before, const std::string& part, const std::string& type) {
    expectReads(text, before, before, "Could not convert string \"" + part + "\" to " + type + ".");
}

TEST(PlainIniFile, ValuesOfEveryType) {
    for (const auto& [text, value] : {std::pair("1.5x", 1.5f), {"-2", -2.0f}, {"1e-3", 1e-3f}, {".5", 0.5f}})
        expectReads(text, 7.0f, value);
    for (const char* text : {"x1.5", "1e39", "nan"}) expectThrows(text, 7.0f, text, "float");
    for (const auto& [text, value] : {std::pair("12", 12), {"-3.9", -3}, {"+4,5", 4}}) expectReads(text, 7, value);
    for (const char* text : {"ten", "2147483648", ".5"}) expectThrows(text, 7, text, "integer");
    for (const char* text : {"true", "tRuE"}) expectReads(text, false, true);
    for (const char* text : {"1", "yes", "true,", "tru"}) expectReads(text, true, false);

    expectReads("1,2,4,8", std::vector<int>{7}, {1, 2, 4, 8});
    expectReads(",1.5,x,", Strings{"before"}, {"", "1.5", "x", ""});
    expectReads("1.5,-2", std::vector<float>(5), {1.5f, -2.0f});
    expectThrows("1,2,", std::vector<float>{7.0f}, "", "float");
    expectThrows("1,two,three", std::vector<int>{7}, "two", "integer");
}

// A program that writes 1,5 still reads files written with a point.
TEST(PlainIniFile, TheProgramsLanguageDoesNotMatter) {
    struct Comma : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
    expectReads("1.5", 7.0f, 1.5f);
    std::locale::global(before);
}

TEST(PlainIniFile, Splitting) {
    EXPECT_EQ(split(" a\tb\n\r c\v\fd "), (Strings{"a", "b", "c", "d"}));
    for (const auto& [text, delimiter, maximum, parts] : {std::tuple("a,b,,c", ",", -1, Strings{"a", "b", "", "c"}),
                                                          {",", ",", -1, {"", ""}},
                                                          {"", ",", -1, {""}},
                                                          {"a, b,c", ", ", -1, {"a", "b,c"}},
                                                          {"aaa", "aa", -1, {"", "a"}},
                                                          {"a,b", "", -1, {"a,b"}},
                                                          {"a,b,c", ",", 2, {"a", "b"}},
                                                          {"a,b", ",", 9, {"a", "b"}},
                                                          {"a,b", ",", 0, {}}})
        EXPECT_EQ(split(text, delimiter, maximum), parts) << text << ", " << maximum;
}

TEST(PlainSplitPath, DirectoryNameAndExtension) {
    for (const Strings& parts : {Strings{"/models/v1.2/", "a.tar", ".gz"},
                                 {"v1.2/", "model", ""},
                                 {"", "model", "."},
                                 {"a/", "", ".hidden"},
                                 {"a/b/", "", ""},
                                 {"", "", ""}}) {
        const std::string path = parts[0] + parts[1] + parts[2];
        char drive[32] = "~", dir[32] = "~", name[32] = "~", ext[32] = "~";
        _splitpath(path.c_str(), drive, 0, dir, -1, name, 0, ext, 32);  // the sizes are not looked at
        EXPECT_EQ(Strings({drive, dir, name, ext}), Strings({"", parts[0], parts[1], parts[2]}));
    }
    _splitpath(nullptr, nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0);
}

}  // namespace
}  // namespace KaTessel::tests
