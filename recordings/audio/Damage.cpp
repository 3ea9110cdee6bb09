#include "recordings/audio/Damage.h"

namespace katessel {

std::string bytesAt(std::FILE* file, long place, std::size_t count) {
    std::string bytes(count, '\0');
    if (place < 0 || std::fseek(file, place, SEEK_SET) != 0) return {};
    bytes.resize(std::fread(bytes.data(), 1, count, file));
    return bytes;
}

std::optional<Damage> findDamage(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return std::nullopt;
    const long size = std::ftell(file);
    const std::string magic = bytesAt(file, 0, 4);
    if (magic == "OggS") return findOggDamage(file);
    const bool isMp3 =
        magic.size() == 4 && (magic.starts_with("ID3") || (magic[0] == '\xff' && (magic[1] & 0xe0) == 0xe0));
    return isMp3 ? findMp3Damage(file, size) : findContainerDamage(file, size);
}

}  // namespace katessel
