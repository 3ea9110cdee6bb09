// Entries of parameter files as values of a type.
#include <strings.h>

#include <locale>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "katessel/IniFile.h"

namespace KaTessel {
namespace {

template <typename Number>
Number number(const std::string& text, const char* type) {
    std::istringstream in(text);
    in.imbue(std::locale::classic());  // a decimal point, whatever the host program's language
    Number value{};
    if (!(in >> value)) throw std::runtime_error("Could not convert string \"" + text + "\" to " + type + ".");
    return value;
}

void convert(const std::string& text, std::string& value) { value = text; }
void convert(const std::string& text, float& value) { value = number<float>(text, "float"); }
void convert(const std::string& text, int& value) { value = number<int>(text, "integer"); }
void convert(const std::string& text, bool& value) { value = strcasecmp(text.c_str(), "true") == 0; }

// Into a fresh list, so that a part that cannot be converted leaves the caller's as it was.
template <typename Element>
void convert(const std::string& text, std::vector<Element>& values) {
    std::vector<Element> elements;
    for (const std::string& part : split(text, ",", -1)) convert(part, elements.emplace_back());
    values = std::move(elements);
}

template <typename Value>
bool readAs(const std::vector<TINISECTION>& sections, const std::string& section, const std::string& key,
            Value& value) {
    const int index = ini_findsection(sections, section);
    if (index < 0) return false;
    const TINISECTION& found = sections[static_cast<std::size_t>(index)];
    if (found.entries.empty() || found.entries.front().empty()) return false;
    const std::string text = ini_section_readparam(found, key);
    if (text.empty()) return false;
    convert(text, value);
    return true;
}

}  // namespace

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                    std::string& value) {
    return readAs(sections, section, key, value);
}

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key, float& value) {
    return readAs(sections, section, key, value);
}

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key, int& value) {
    return readAs(sections, section, key, value);
}

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key, bool& value) {
    return readAs(sections, section, key, value);
}

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                    std::vector<std::string>& value) {
    return readAs(sections, section, key, value);
}

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                    std::vector<float>& value) {
    return readAs(sections, section, key, value);
}

bool ini_read_param(const std::vector<TINISECTION>& sections, std::string section, std::string key,
                    std::vector<int>& value) {
    return readAs(sections, section, key, value);
}

}  // namespace KaTessel
