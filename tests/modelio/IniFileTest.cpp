// Parameter files: what each kind of line becomes, look-ups of every type, and taking strings apart.
#include <cstring>
#include <limits>
#include <locale>
#include <stdexcept>
#include <string>
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
    struct Row {
        const char *text, *outline;
    };
    const Row rows[] = {
        {"", ""},
        {"key value\n# [not a section]\n", ""},  // nothing before the first section counts
        {"lost 1\n[a]\nkept 2", "a: kept 2"},    // the last line needs no end
        {" \t [encoder] \t\r\n\tnlayers \t 10 \r\n", "encoder: nlayers 10"},
        {"[a]b]\nx 1\n", "a: x 1"},
        {"]x[b c]] 1\n", "b c:"},
        {"[a]\nshape [2]\nx 1\n", "a:; 2: x 1"},
        {"[a]\n[b\nb]\n]b[\n", "a: [b | b] | ]b["},
        {"[]\nx 1\n", ": x 1"},
        {"[ a ]\n", " a :"},
        {"[a]\n\n \t\r\n#x 1\n  # [b] 2\nkey # value\n", "a: key # value"},
        {"[a]\nalone\nx = 3\nx\v1\f2\n", "a: alone | x = 3 | x 1 2"},
        {"[a]\nx 1\n[b]\n[a]\nx 2\n", "a: x 1; b:; a: x 2"},
        {"[a]\rx 1\n[b]\n", "a:; b:"},  // a carriage return alone ends no line
    };
    for (const Row& row : rows) EXPECT_EQ(outline(sectionsOf(row.text)), row.outline) << row.text;
}

TEST(PlainIniFile, LoadingAppendsOrLeavesAlone) {
    const TemporaryFolder folder;
    saveBytes(folder.file("ini"), "[b]\nx 1\n");
    std::vector<TINISECTION> sections = {{"a", {}}};
    EXPECT_TRUE(loadIni(folder.file("ini"), sections));
    EXPECT_EQ(outline(sections), "a:; b: x 1");
    for (const std::string& path : {folder.file("absent"), folder.path(), std::string()}) {
        CapturedStdout captured;
        EXPECT_FALSE(loadIni(path, sections)) << path;
        EXPECT_EQ(captured.text(), "error reading file " + path + "\n");
        EXPECT_EQ(outline(sections), "a:; b: x 1") << path;
    }
}

TEST(PlainIniFile, LookUpsFindTheLastValueOfTheFirstSection) {
    const std::vector<TINISECTION> sections = sectionsOf(
        "[empty]\n[a]\nalone\nx 1\nx 2 3\nX 4\ngone 5\ngone\n[a]\nother 6\n[blank]\n\f\nx 7\n[last]\nx 8\n\f\n");
    EXPECT_EQ(ini_findsection(sections, "a"), 1);
    EXPECT_EQ(ini_findsection(sections, "A"), -1);
    EXPECT_EQ(ini_findsection({}, "a"), -1);
    EXPECT_EQ(ini_section_readparam(sections[1], "x"), "2");
    EXPECT_EQ(ini_section_readparam(sections[1], "xx"), "");
    struct Row {
        const char *section, *key, *value;  // no value: not found
    };
    const Row rows[] = {
        {"a", "x", "2"},          {"a", "X", "4"},     {"a", "alone", nullptr}, {"a", "gone", nullptr},
        {"a", "other", nullptr},  {"a", "3", nullptr}, {"", "x", nullptr},      {"empty", "x", nullptr},
        {"blank", "x", nullptr},  // its first line is white space, but no blank line
        {"last", "x", "8"},
    };
    for (const Row& row : rows) {
        std::string value = "before";
        EXPECT_EQ(ini_read_param(sections, row.section, row.key, value), row.value != nullptr) << row.key;
        EXPECT_EQ(value, row.value != nullptr ? row.value : "before") << row.section << ", " << row.key;
    }
}

// Reads `text` as the type of `before`; the message when that throws, which must leave the value alone.
template <typename Value>
std::string readAs(const std::string& text, const Value& before, Value& value) {
    const std::vector<TINISECTION> sections = {{"a", {{"key", text}}}};
    value = before;
    EXPECT_FALSE(ini_read_param(sections, "a", "absent", value));
    EXPECT_FALSE(ini_read_param(sections, "b", "key", value));
    EXPECT_EQ(value, before);
    try {
        EXPECT_TRUE(ini_read_param(sections, "a", "key", value));
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(value, before) << text;
        return error.what();
    }
    return "";
}

template <typename Value>
void expectReads(const std::string& text, const Value& before, const Value& expected) {
    Value value;
    EXPECT_EQ(readAs(text, before, value), "") << text;
    EXPECT_EQ(value, expected) << text;
}

template <typename Value>
void expectThrows(const std::string& text, const Value& before, const std::string& part, const char* type) {
    Value value;
    EXPECT_EQ(readAs(text, before, value), "Could not convert string \"" + part + "\" to " + type + ".");
}

TEST(PlainIniFile, ValuesOfEveryType) {
    const float lowest = std::numeric_limits<float>::lowest();
    for (const auto& [text, value] : {std::pair("1.5x", 1.5f), {"-2", -2.0f}, {"1e-3", 1e-3f}, {".5", 0.5f},
                                      {"-3.40282347e38", lowest}, {"0x10", 0.0f}})
        expectReads(text, 7.0f, value);
    for (const char* text : {"x1.5", "1e39", "-", "nan", "e5"}) expectThrows(text, 7.0f, text, "float");
    for (const auto& [text, value] : {std::pair("12", 12), {"-3.9", -3}, {"+4,5", 4}, {"-2147483648", INT32_MIN}})
        expectReads(text, 7, value);
    for (const char* text : {"ten", "2147483648", "-2147483649", ".5"}) expectThrows(text, 7, text, "integer");
    for (const char* text : {"true", "TRUE", "tRuE"}) expectReads(text, false, true);
    for (const char* text : {"1", "yes", "true,", "tru", "false"}) expectReads(text, true, false);

    expectReads("1,2,4,8", std::vector<int>{7}, {1, 2, 4, 8});
    expectReads("1.5,x,-2", Strings{"before", "and"}, {"1.5", "x", "-2"});
    expectReads(",a,,", Strings{}, {"", "a", "", ""});
    expectReads("1.5,-2", std::vector<float>(5), {1.5f, -2.0f});
    expectThrows("1,,3", std::vector<int>{7}, "", "integer");
    expectThrows("1,2,", std::vector<float>{7.0f}, "", "float");
    expectThrows("1,two,three", std::vector<int>{7}, "two", "integer");
}

// A program that writes 1.000,5 still reads files written with a point; one that takes the byte 0xa0 for a blank, as
// Latin-1 does, still keeps the letter of UTF-8 that ends in it.
TEST(PlainIniFile, TheProgramsLanguageDoesNotMatter) {
    struct CommaAndGroups : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    std::vector<std::ctype_base::mask> classes(std::ctype<char>::classic_table(),
                                               std::ctype<char>::classic_table() + std::ctype<char>::table_size);
    classes[0xa0] = std::ctype_base::space;
    const std::locale numbers(std::locale::classic(), new CommaAndGroups);
    const std::locale before = std::locale::global(std::locale(numbers, new std::ctype<char>(classes.data())));
    expectReads("1.5", 7.0f, 1.5f);
    expectReads("1.000", 7, 1);
    EXPECT_EQ(split("voil\xc3\xa0 1"), (Strings{"voil\xc3\xa0", "1"}));
    std::locale::global(before);
}

TEST(PlainIniFile, Splitting) {
    EXPECT_EQ(split(" a\tb\n\r c\v\fd "), (Strings{"a", "b", "c", "d"}));
    EXPECT_EQ(split(" \n"), Strings{});
    struct Row {
        const char *text, *delimiter;
        int maximum;
        Strings parts;
    };
    const Row rows[] = {
        {"a,b,,c", ",", -1, {"a", "b", "", "c"}}, {",", ",", -1, {"", ""}},    {"", ",", -1, {""}},
        {"a, b,c", ", ", -1, {"a", "b,c"}},       {"aaa", "aa", -1, {"", "a"}}, {"abc", "abcd", -5, {"abc"}},
        {"a,b,c", ",", 2, {"a", "b"}},            {"a,b,c", ",", 1, {"a"}},    {"a,b,c", ",", 3, {"a", "b", "c"}},
        {"a,b,c", ",", 9, {"a", "b", "c"}},       {"a,b,c", ",", 0, {}},       {"a,b", "", -1, {"a,b"}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(split(row.text, row.delimiter, row.maximum), row.parts) << row.text << ", " << row.maximum;
}

TEST(PlainSplitPath, DirectoryNameAndExtension) {
    struct Row {
        const char *path, *dir, *name, *ext;
    };
    const Row rows[] = {
        {"/models/v1.2/a.tar.gz", "/models/v1.2/", "a.tar", ".gz"},
        {"v1.2/model", "v1.2/", "model", ""},
        {"model.weights", "", "model", ".weights"},
        {"model.", "", "model", "."},
        {"a/.hidden", "a/", "", ".hidden"},
        {"a/b/", "a/b/", "", ""},
        {"..", "", ".", "."},
        {"", "", "", ""},
        {nullptr, "", "", ""},
    };
    for (const Row& row : rows) {
        char buffers[4][32];
        const char* expected[4] = {"", row.dir, row.name, row.ext};
        // With all four buffers, then without each of them in turn; -1 as a size is as good as any.
        for (int omitted = -1; omitted < 4; ++omitted) {
            std::memset(buffers, '~', sizeof buffers);
            const auto buffer = [&](int i) { return i == omitted ? nullptr : buffers[i]; };
            _splitpath(row.path, buffer(0), 32, buffer(1), -1, buffer(2), 0, buffer(3), 32);
            for (int i = 0; i < 4; ++i) {
                const std::string part = i != omitted ? std::string(expected[i]) + '\0' : "";
                const std::string whole = part + std::string(32 - part.size(), '~');
                EXPECT_EQ(std::string(buffers[i], 32), whole) << "part " << i << " without " << omitted;
            }
        }
    }
}

}  // namespace
}  // namespace KaTessel::tests
