// Paths as text, which is UTF-8 on every machine. Header-only, C++17.
#ifndef KATESSEL_PATHS_HPP
#define KATESSEL_PATHS_HPP

#include <filesystem>
#include <string>

namespace KaTessel {
inline namespace v1 {

inline std::filesystem::path pathOf(const std::string& text) {
#if !defined(_WIN32)
    return text;
#elif defined(__cpp_char8_t)
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
#else
    return std::filesystem::u8path(text);
#endif
}

inline std::string textOf(const std::filesystem::path& path) {
#if !defined(_WIN32)
    return path.string();
#else
    const auto text = path.u8string();
    return std::string(text.begin(), text.end());
#endif
}

}  // namespace v1
}  // namespace KaTessel

#endif
