#include "recordings/base/Text.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

namespace katessel {

namespace {

// Room for every double: sign, digits, point, and up to 17 decimals.
constexpr std::size_t kLongestNumber = std::numeric_limits<double>::max_exponent10 + 20;

void appendNumber(std::string& text, double value, std::chars_format format, int precision) {
    std::array<char, kLongestNumber> digits;
    const std::to_chars_result end = std::to_chars(digits.begin(), digits.end(), value, format, precision);
    text.append(digits.begin(), end.ptr);
}

// Below the hours and minutes: ":07".
std::string sixtieths(long value) { return std::string(value < 10 ? ":0" : ":").append(std::to_string(value)); }

}  // namespace

void appendFixed(std::string& text, double value, int decimals) {
    if (std::isnan(value))
        text += "nan";
    else
        appendNumber(text, value, std::chars_format::fixed, decimals);
}

std::string fixedText(double value, int decimals) {
    std::string text;
    appendFixed(text, value, decimals);
    return text;
}

std::string shortNumber(double value) {
    std::string text;
    appendNumber(text, value, std::chars_format::general, 6);
    return text;
}

std::string clockTime(double seconds) {
    const long all = std::lround(seconds);
    if (all < 3600) return std::to_string(all / 60) + sixtieths(all % 60);
    return std::to_string(all / 3600) + sixtieths(all / 60 % 60) + sixtieths(all % 60);
}

std::string clockSeconds(const std::string& text) {
    const char* const end = text.data() + text.size();
    const char* at = text.data();
    double seconds = 0.0;
    for (int fields = 1; fields <= 3; ++fields) {
        double value = 0.0;
        const auto [next, error] = std::from_chars(at, end, value, std::chars_format::fixed);
        if (error != std::errc() || *at == '-' || (fields > 1 && !(value < 60.0))) return text;
        seconds = 60.0 * seconds + value;
        if (next == end) {
            std::string number;
            appendNumber(number, seconds, std::chars_format::general, std::numeric_limits<double>::max_digits10);
            return number;
        }
        if (*next != ':' || value != std::floor(value)) return text;
        at = next + 1;
    }
    return text;
}

std::string numberProblem(const std::string& text, double least, double most) {
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    // A comparison with what is no number fails.
    if (error == std::errc() && end == text.data() + text.size() && value >= least && value <= most) return "";
    return "expected a number from " + shortNumber(least) + " to " + shortNumber(most) + ", found " + text;
}

std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::string leftAligned(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

std::string rightAligned(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

}  // namespace katessel
