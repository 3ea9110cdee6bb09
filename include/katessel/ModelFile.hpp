// The bytes of a model's file, and the error for one that is no good. Header-only, C++17.
#ifndef KATESSEL_MODELFILE_HPP
#define KATESSEL_MODELFILE_HPP

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "katessel/Paths.hpp"

namespace KaTessel {
inline namespace v1 {

// "bad model: PATH: expected EXPECTED, found FOUND".
class ModelError : public std::runtime_error {
public:
    // `fault` is "expected .., found ..".
    ModelError(const std::string& path, const std::string& fault)
        : std::runtime_error(std::string("bad model: ").append(path).append(": ").append(fault)) {}
    ModelError(const std::string& path, const std::string& expected, const std::string& found)
        : ModelError(path, std::string("expected ").append(expected).append(", found ").append(found)) {}

protected:
    explicit ModelError(const std::string& message) : std::runtime_error(message) {}
};

// A whole file, which is opened once. Throws ModelError when it cannot be read or is longer than any model, 64 MB.
inline std::vector<char> readModelFile(const std::string& path) {
    constexpr std::size_t kLongest = 64'000'000, kPiece = 1 << 20;  // [bytes]
    const char* const expected = "a layer weight file";
    std::ifstream in(pathOf(path), std::ios::binary);
    if (!in) throw ModelError(path, expected, std::string("one that cannot be opened: ").append(std::strerror(errno)));
    std::vector<char> bytes;
    for (std::size_t count = 0;;) {
        bytes.resize(count + kPiece);
        in.read(bytes.data() + count, static_cast<std::streamsize>(kPiece));
        if (in.bad()) throw ModelError(path, expected, "one that cannot be read");
        count += static_cast<std::size_t>(in.gcount());
        bytes.resize(count);
        if (!in) return bytes;
        if (count > kLongest) throw ModelError(path, expected, "one that holds more than 64 MB");
    }
}

}  // namespace v1
}  // namespace KaTessel

#endif
