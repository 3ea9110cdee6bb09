// Tracks as NumPy arrays, the same bytes on every machine.
#include <bit>
#include <cstdint>

#include "apps/formats/TrackFormat.h"

namespace katessel {

namespace {

constexpr std::size_t kNpyPrefix = 10;  // magic text, version, length of the header
constexpr std::size_t kNpyAlignment = 64;

// The lowest `size` bytes of `value`, the lowest first.
void appendLittleEndian(std::string& bytes, std::uint64_t value, int size) {
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i & 0xff);
}

// What stands before the values of an NPY file, after its prefix.
std::string npyHeader(std::size_t rows, int columns) {
    std::string text = "{'descr': '<f8', 'fortran_order': False, 'shape': (" + std::to_string(rows) + ", " +
                       std::to_string(columns) + "), }";
    // The values begin at a multiple of 64; the header ends with a line break.
    text.append((kNpyAlignment - (kNpyPrefix + text.size() + 1) % kNpyAlignment) % kNpyAlignment, ' ');
    return text + '\n';
}

}  // namespace

std::string npyBytes(const TrackDocument& document) {
    std::string values;
    std::size_t rows = 0;
    for (const PitchRow& row : document.track) {
        if (!isWanted(row, document)) continue;
        ++rows;
        const auto append = [&](double value) { appendLittleEndian(values, std::bit_cast<std::uint64_t>(value), 8); };
        append(row.time);
        append(pitchOf(row, document));
        append(row.confidence);
        if (document.loudness) append(row.loudness);
    }
    const std::string text = npyHeader(rows, document.loudness ? 4 : 3);
    std::string bytes("\x93NUMPY\x01\x00", 8);
    appendLittleEndian(bytes, text.size(), 2);
    return bytes + text + values;
}

}  // namespace katessel
