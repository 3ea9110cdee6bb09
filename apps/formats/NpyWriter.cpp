#include "apps/formats/NpyWriter.h"

#include <bit>
#include <cstdint>

#include "apps/formats/BinaryText.h"

namespace katessel {

namespace {

constexpr std::size_t kPrefix = 10;  // magic text, version, length of the header
constexpr std::size_t kAlignment = 64;

std::string header(std::size_t rows) {
    std::string text = "{'descr': '<f4', 'fortran_order': False, 'shape': (" + std::to_string(rows) + ", 3), }";
    // The values begin at a multiple of 64; the header ends with a line break.
    text.append((kAlignment - (kPrefix + text.size() + 1) % kAlignment) % kAlignment, ' ');
    return text + '\n';
}

}  // namespace

std::string npyBytes(const TrackDocument& document) {
    std::string values;
    std::size_t rows = 0;
    forEachRow(document, [&](double time, double pitch, double confidence) {
        ++rows;
        for (const double value : {time, pitch, confidence})
            appendLittleEndian(values, std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4);
    });
    const std::string text = header(rows);
    std::string bytes("\x93NUMPY\x01\x00", 8);
    appendLittleEndian(bytes, static_cast<std::uint32_t>(text.size()), 2);
    return bytes + text + values;
}

}  // namespace katessel
