// The model's card: a JSON file beside the weight file, with the same stem, that says how to use the model.
// Header-only, C++17.
#ifndef KATESSEL_MODELCARD_HPP
#define KATESSEL_MODELCARD_HPP

#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "katessel/ModelFile.hpp"
#include "katessel/Paths.hpp"

namespace KaTessel {
inline namespace v1 {

// "bad model card: PATH: expected EXPECTED, found FOUND".
class ModelCardError : public ModelError {
public:
    ModelCardError(const std::string& path, const std::string& expected, const std::string& found)
        : ModelError("bad model card: " + path + ": expected " + expected + ", found " + found) {}
};

// Where the card of a model would lie.
inline std::string modelCard(const std::string& model) { return textOf(pathOf(model).replace_extension(".json")); }

namespace detail {

// Just enough JSON to find one value of the outermost object without being misled by texts and nested objects. Throws
// std::invalid_argument, with the place, where the text is no JSON object.
class CardScanner {
public:
    explicit CardScanner(const std::string& text) : m_text(text) {}

    // The value under `key`, as it is written; of equal keys that of the last. None: no such key.
    std::optional<std::string> valueOf(const std::string& key) {
        std::optional<std::string> value;
        members([&](const std::string& name) {
            skipSpace();
            const std::size_t begin = m_at;
            skipValue();
            if (name == key) value = m_text.substr(begin, m_at - begin);
        });
        skipSpace();
        if (m_at < m_text.size()) stop("nothing after the object");
        return value;
    }

private:
    static constexpr int kDeepest = 100;  // nested values

    [[noreturn]] void stop(const std::string& expected) const {
        throw std::invalid_argument("no " + expected + " at byte " + std::to_string(m_at));
    }

    void skipSpace() {
        while (m_at < m_text.size() && std::string(" \t\n\r").find(m_text[m_at]) != std::string::npos) ++m_at;
    }

    bool takes(char c) {
        skipSpace();
        if (m_at >= m_text.size() || m_text[m_at] != c) return false;
        ++m_at;
        return true;
    }

    void take(char c) {
        if (!takes(c)) stop(std::string("'") + c + "'");
    }

    // A text in quotes, without them; escapes stay as they are written.
    std::string takeText() {
        take('"');
        const std::size_t begin = m_at;
        for (; m_at < m_text.size() && m_text[m_at] != '"'; ++m_at)
            if (m_text[m_at] == '\\') ++m_at;
        if (m_at >= m_text.size()) stop("end of a text");
        return m_text.substr(begin, m_at++ - begin);
    }

    template <class Member>
    void members(Member member) {
        take('{');
        if (takes('}')) return;
        do {
            skipSpace();
            const std::string name = takeText();
            take(':');
            member(name);
        } while (takes(','));
        take('}');
    }

    void skipValue() {
        if (++m_depth > kDeepest) stop("value nested less deeply");
        skipSpace();
        const char first = m_at < m_text.size() ? m_text[m_at] : '\0';
        if (first == '{') {
            members([this](const std::string&) { skipValue(); });
        } else if (first == '[') {
            take('[');
            if (!takes(']')) {
                do skipValue();
                while (takes(','));
                take(']');
            }
        } else if (first == '"') {
            takeText();
        } else {
            const std::size_t begin = m_at;
            while (m_at < m_text.size() && std::string(",]} \t\n\r").find(m_text[m_at]) == std::string::npos) ++m_at;
            if (m_at == begin) stop("value");
        }
        --m_depth;
    }

    const std::string& m_text;
    std::size_t m_at = 0;  // [bytes]
    int m_depth = 0;
};

}  // namespace detail

// What the card of a model has under `key`, as it is written, a text in its quotes; none when there is no card or it does
// not say. Throws ModelCardError when the card cannot be read or is no JSON object.
inline std::optional<std::string> cardValue(const std::string& model, const std::string& key) {
    const std::string path = modelCard(model);
    std::error_code missing;
    if (!std::filesystem::exists(pathOf(path), missing)) return std::nullopt;
    const std::ifstream in(pathOf(path), std::ios::binary);
    std::ostringstream content;
    if (in) content << in.rdbuf();
    if (!in || content.bad()) throw ModelCardError(path, "a readable file", "one that cannot be read");
    const std::string text = content.str();
    try {
        return detail::CardScanner(text).valueOf(key);
    } catch (const std::invalid_argument& error) {
        throw ModelCardError(path, "a JSON object", error.what());
    }
}

// The confidence from which on a frame of this model counts as voiced: `default_threshold` of its card, or 0.5 when there
// is no card or it does not say. Throws ModelCardError when the card cannot be read or the value is no threshold.
inline float modelThreshold(const std::string& model) {
    constexpr float kWithoutCard = 0.5f;
    const char* const key = "default_threshold";
    const std::optional<std::string> value = cardValue(model, key);
    if (!value) return kWithoutCard;
    std::istringstream number(*value);
    number.imbue(std::locale::classic());
    float threshold = -1.0f;
    const bool digits = value->find_first_not_of("0123456789+-.eE") == std::string::npos;
    if (!digits || !(number >> threshold) || !number.eof() || !(threshold >= 0.0f) || !std::isfinite(threshold))
        throw ModelCardError(modelCard(model), std::string(key) + " to be a number from 0 up", *value);
    return threshold;
}

}  // namespace v1
}  // namespace KaTessel

#endif
