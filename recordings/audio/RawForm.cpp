#include "recordings/audio/RawForm.h"

#include <bit>
#include <charconv>
#include <cstdint>
#include <string_view>
#include <vector>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

constexpr char kExpected[] = "f32:RATE or s16:RATE, perhaps with :CHANNELS";
constexpr int kMostRate = 1000000;  // [Hz]
constexpr int kMostChannels = 1024;

std::vector<std::string_view> parts(std::string_view text) {
    std::vector<std::string_view> all;
    for (std::size_t colon; (colon = text.find(':')) != std::string_view::npos; text.remove_prefix(colon + 1))
        all.push_back(text.substr(0, colon));
    all.push_back(text);
    return all;
}

int parseCount(std::string_view digits, int most, const std::string& whole) {
    int value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || value < 1 || value > most)
        failUsage("wrong form of sound", "--raw", kExpected, whole);
    return value;
}

std::uint32_t littleEndian(const unsigned char* bytes, int size) {
    std::uint32_t value = 0;
    for (int i = size; i-- > 0;) value = value << 8 | bytes[i];
    return value;
}

}  // namespace

RawForm parseRawForm(const std::string& text) {
    const std::vector<std::string_view> given = parts(text);
    const bool isFloat = given[0] == "f32";
    if ((!isFloat && given[0] != "s16") || given.size() < 2 || given.size() > 3)
        failUsage("wrong form of sound", "--raw", kExpected, text);
    RawForm form;
    form.sample = isFloat ? RawSample::float32 : RawSample::int16;
    form.rate = parseCount(given[1], kMostRate, text);
    if (given.size() == 3) form.channels = parseCount(given[2], kMostChannels, text);
    return form;
}

void decodeSamples(RawSample sample, const unsigned char* bytes, int count, float* samples) {
    for (int i = 0; i < count; ++i) {
        if (sample == RawSample::float32)
            samples[i] = std::bit_cast<float>(littleEndian(bytes + 4 * i, 4));
        else
            samples[i] = static_cast<float>(static_cast<std::int16_t>(littleEndian(bytes + 2 * i, 2))) / 32768.0f;
    }
}

}  // namespace katessel
