// Tracks from NumPy arrays.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>

#include "recordings/base/Errors.h"
#include "recordings/tracks/TrackRows.h"

namespace katessel {

namespace {

constexpr std::size_t kPrefix = 8;  // magic text and version

// The `size` bytes at a place, the lowest first.
std::uint64_t bitsAt(const std::string& bytes, std::size_t place, std::size_t size) {
    std::uint64_t bits = 0;
    for (std::size_t i = size; i-- > 0;) bits = bits << 8 | static_cast<unsigned char>(bytes[place + i]);
    return bits;
}

// The value at a place, which is a float's or a double's.
double valueAt(const std::string& bytes, std::size_t place, std::size_t size) {
    const std::uint64_t bits = bitsAt(bytes, place, size);
    if (size == sizeof(double)) return std::bit_cast<double>(bits);
    return static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
}

}  // namespace

PitchTrack trackFromNpy(const std::string& bytes, const std::string& path) {
    const char* const expected = "a NumPy array of float32 or float64, rows of time, frequency and perhaps confidence";
    if (bytes.size() < kPrefix + 4 || !bytes.starts_with("\x93NUMPY"))
        fail(kCannotReadPitch, path, expected, "no array");
    // Its length has two bytes in version 1, and four since.
    const std::size_t lengthBytes = bytes[6] == 1 ? 2 : 4;
    const std::size_t begin = kPrefix + lengthBytes + bitsAt(bytes, kPrefix, lengthBytes);
    const std::string header = bytes.substr(kPrefix + lengthBytes, std::min<std::size_t>(begin, 1024));
    unsigned size = 0;
    int end = 0;
    std::size_t count = 0, columns = 0;
    std::sscanf(header.c_str(), "{'descr': '<f%1u', 'fortran_order': False, 'shape': (%15zu, %15zu), }%n", &size,
                &count, &columns, &end);
    if (end == 0 || (size != sizeof(float) && size != sizeof(double)))
        fail(kCannotReadPitch, path, expected, header.substr(0, header.find('\n')));
    if (columns < 2) fail(kCannotReadPitch, path, expected, std::to_string(columns) + " columns");
    if (bytes.size() < begin || count > bytes.size() || columns > bytes.size() ||
        bytes.size() - begin != count * columns * size)
        fail(kCannotReadPitch, path, "the bytes of " + std::to_string(count) + " rows", std::to_string(bytes.size()));
    TrackRows rows(path);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t at = begin + i * columns * size;
        const std::string place = "row " + std::to_string(i + 1);
        const double time = valueAt(bytes, at, size), frequency = valueAt(bytes, at + size, size);
        if (columns > 2)
            rows.add(place, time, frequency, valueAt(bytes, at + 2 * size, size));
        else
            rows.add(place, time, frequency);
    }
    return rows.take();
}

}  // namespace katessel
