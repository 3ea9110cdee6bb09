// Parameter files: from text to sections, and finding one entry. IniValues.cpp converts what was found.
#include "katessel/IniFile.h"

#include <fstream>
#include <iterator>
#include <locale>
#include <sstream>
#include <utility>

#include "base/Messages.h"
#include "katessel/Paths.hpp"

namespace KaTessel {
namespace {

std::string stripped(const std::string& line) {
    constexpr const char* kBlanks = " \t\n\r";
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string::npos) return {};
    return line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

// Whether the line starts a section, and which.
bool isSectionLine(const std::string& line, std::string& name) {
    const std::size_t open = line.find('[');
    if (open == std::string::npos) return false;
    const std::size_t close = line.find(']', open);
    if (close == std::string::npos) return false;
    name = line.substr(open + 1, close - open - 1);
    return true;
}

void addLine(const std::string& line, std::vector<TINISECTION>& sections) {
    std::string name;
    if (line.empty() || line[0] == '#') return;
    if (isSectionLine(line, name))
        sections.push_back({name, {}});
    else if (!sections.empty())
        sections.back().entries.push_back(split(line));
}

}  // namespace

bool loadIni(std::string path, std::vector<TINISECTION>& sections) {
    std::ifstream in(pathOf(path));
    std::vector<TINISECTION> read;
    for (std::string line; std::getline(in, line);) addLine(stripped(line), read);
    // A folder opens, but its first line fails.
    if (!in.is_open() || in.bad()) {
        printMessage("error reading file %s\n", path.c_str());
        return false;
    }
    sections.insert(sections.end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
    return true;
}

int ini_findsection(const std::vector<TINISECTION>& sections, std::string name) {
    for (std::size_t i = 0; i < sections.size(); ++i)
        if (sections[i].name == name) return static_cast<int>(i);
    return -1;
}

std::string ini_section_readparam(const TINISECTION& section, std::string key) {
    for (auto entry = section.entries.rbegin(); entry != section.entries.rend(); ++entry)
        if (!entry->empty() && entry->front() == key) return entry->size() > 1 ? (*entry)[1] : std::string();
    return {};
}

std::vector<std::string> split(std::string text) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());  // what separates tokens is not the host program's choice
    return {std::istream_iterator<std::string>(in), std::istream_iterator<std::string>()};
}

std::vector<std::string> split(std::string text, std::string delimiter, int maximum) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    while (maximum < 0 || parts.size() < static_cast<std::size_t>(maximum)) {
        const std::size_t to = delimiter.empty() ? std::string::npos : text.find(delimiter, from);
        parts.push_back(text.substr(from, to - from));
        if (to == std::string::npos) break;
        from = to + delimiter.size();
    }
    return parts;
}

}  // namespace KaTessel
