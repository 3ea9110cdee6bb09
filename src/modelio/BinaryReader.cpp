#include "modelio/BinaryReader.h"

#include <utility>

namespace KaTessel {

BinaryReader::BinaryReader(const std::string& path) : m_file(std::fopen(path.c_str(), "rb"), &std::fclose) {
    if (!m_file) {
        fail("cannot be opened");
        return;
    }
    // A folder opens, but has no size.
    if (std::fseek(m_file.get(), 0, SEEK_END) != 0 || (m_left = std::ftell(m_file.get())) < 0 ||
        std::fseek(m_file.get(), 0, SEEK_SET) != 0)
        fail("cannot be read");
}

bool BinaryReader::fail(std::string why) {
    if (m_why.empty()) m_why = std::move(why);
    return false;
}

bool BinaryReader::read(void* to, std::int64_t bytes, const char* what) {
    if (!good()) return false;
    if (bytes > m_left ||
        std::fread(to, 1, static_cast<std::size_t>(bytes), m_file.get()) != static_cast<std::size_t>(bytes))
        return fail(std::string("ends within ") + what);
    m_left -= bytes;
    return true;
}

}  // namespace KaTessel
