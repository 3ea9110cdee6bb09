// Tracks as JSON that also says where they come from.
#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <utility>

#include "apps/formats/TrackFormat.h"

namespace katessel {

namespace {

// With the decimals that the text formats have.
double rounded(double value, double steps) { return std::round(value * steps) / steps; }

// Appends "NAME":[..] with valueOf(row) of every row: text at once, since JSON values take several times the memory.
template <class ValueOf>
void appendColumn(std::string& text, const std::string& name, const TrackDocument& document, ValueOf valueOf) {
    text += '"' + name + "\":[";
    bool isFirst = true;
    for (const PitchRow& row : document.track) {
        if (!isWanted(row, document)) continue;
        if (!std::exchange(isFirst, false)) text += ',';
        const double value = valueOf(row);
        std::array<char, 32> digits;
        char* const end = std::to_chars(digits.begin(), digits.end(), value).ptr;
        if (std::isnan(value))
            text += "null";
        else
            text.append(digits.begin(), end).append(value == std::round(value) ? ".0" : "");
    }
    text += ']';
}

}  // namespace

std::string jsonText(const TrackDocument& document) {
    using Json = nlohmann::ordered_json;
    Json head;
    head["recording"] = document.recording;
    head["sample_rate"] = document.rate;
    head["start"] = rounded(document.start, 1e6);
    head["end"] = rounded(document.end, 1e6);
    head.update(Json::parse(document.about));
    // A path may hold any bytes, JSON only UTF-8.
    std::string text = head.dump(-1, ' ', false, Json::error_handler_t::replace);
    text.back() = ',';  // instead of the brace
    text += "\"track\":{";
    appendColumn(text, "time", document, [](const PitchRow& row) { return rounded(row.time, 1e3); });
    text += ',';
    appendColumn(text, pitchColumn(document.unit), document,
                 [&](const PitchRow& row) { return rounded(pitchOf(row, document), 1e3); });
    text += ',';
    appendColumn(text, "confidence", document,
                 [](const PitchRow& row) { return rounded(static_cast<double>(row.confidence), 1e6); });
    if (document.loudness) {
        text += ',';
        appendColumn(text, "loudness", document,
                     [](const PitchRow& row) { return rounded(static_cast<double>(row.loudness), 1e2); });
    }
    return text + "}}\n";
}

}  // namespace katessel
