#include "recordings/base/Text.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace katessel {

namespace {

// Room for every double before its point: sign, digits, and what stands between it and the decimals.
constexpr std::size_t kLongestWhole = std::numeric_limits<double>::max_exponent10 + 3;

std::string numberText(double value, std::chars_format format, int precision) {
    std::string text(kLongestWhole + static_cast<std::size_t>(precision), '\0');
    const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), value, format, precision);
    text.resize(static_cast<std::size_t>(end.ptr - text.data()));
    return text;
}

}  // namespace

std::string fixedText(double value, int decimals) {
    return std::isnan(value) ? "nan" : numberText(value, std::chars_format::fixed, decimals);
}

std::string shortNumber(double value) { return numberText(value, std::chars_format::general, 6); }

std::string numberProblem(const std::string& text, double least, double most) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    // A comparison with what is no number fails.
    if (error == std::errc() && end == text.data() + text.size() && value >= least && value <= most) return "";
    return "expected a number from " + shortNumber(least) + " to " + shortNumber(most) + ", found " + text;
}

std::string leftAligned(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

std::string rightAligned(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

}  // namespace katessel
