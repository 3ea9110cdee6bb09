// Arbitrary bytes as a parameter file: every key looked up as every type, every token taken apart.
#include <stdexcept>
#include <string>
#include <vector>

#include "ScratchFile.h"
#include "katessel/IniFile.h"

namespace {

template <typename... Values>
void lookUp(const std::vector<KaTessel::TINISECTION>& sections, const std::string& section, const std::string& key) {
    const auto lookUpOne = [&](auto value) {
        const auto before = value;
        bool found = false;
        try {
            found = KaTessel::ini_read_param(sections, section, key, value);
        } catch (const std::runtime_error&) {
        }
        require(found || value == before);
    };
    (lookUpOne(Values{}), ...);
}

void takeApart(const std::string& text) {
    std::string joined;
    for (const std::string& part : KaTessel::split(text, ",", -1)) joined += "," + part;
    require(joined == "," + text);

    const std::size_t room = text.size() + 1;
    std::vector<char> drive(room), dir(room), name(room), ext(room);
    KaTessel::_splitpath(text.c_str(), drive.data(), 0, dir.data(), 0, name.data(), 0, ext.data(), 0);
    require(std::string(dir.data()) + name.data() + ext.data() == text.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    writeScratchFile(data, size);
    std::vector<KaTessel::TINISECTION> sections;
    require(KaTessel::loadIni(scratchFile(), sections));
    for (const KaTessel::TINISECTION& section : sections)
        for (const std::vector<std::string>& entry : section.entries) {
            for (const std::string& token : entry) takeApart(token);
            if (!entry.empty())
                lookUp<std::string, float, int, bool, std::vector<std::string>, std::vector<float>, std::vector<int>>(
                    sections, section.name, entry[0]);
        }
    return 0;
}
