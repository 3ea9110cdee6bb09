// Tracks from JSON: one object with a column for each value, or a line for each row.
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

#include "recordings/base/Errors.h"
#include "recordings/tracks/TrackRows.h"

namespace katessel {

namespace {

using Json = nlohmann::json;

constexpr char kNames[] = "time and frequency [Hz]";

// Of a value or an array with that name; null where there is none.
const Json* find(const Json& object, const char* name) {
    const auto found = object.is_object() ? object.find(name) : object.end();
    return object.is_object() && found != object.end() ? &*found : nullptr;
}

double numberOf(const Json& value, const std::string& path, const std::string& place) {
    if (value.is_null()) return std::nan("");
    if (!value.is_number()) fail(kCannotReadPitch, path, "a number in " + place, value.dump().substr(0, 40));
    return value.get<double>();
}

void addRow(TrackRows& rows, const std::string& path, const std::string& place, const Json& time, const Json& frequency,
            const Json* confidence) {
    const double t = numberOf(time, path, place), f = numberOf(frequency, path, place);
    if (confidence != nullptr)
        rows.add(place, t, f, numberOf(*confidence, path, place));
    else
        rows.add(place, t, f);
}

}  // namespace

PitchTrack trackFromJson(const std::string& bytes, const std::string& path) {
    const Json document = Json::parse(bytes, nullptr, false);
    const Json* const track = find(document, "track");
    const Json* const times = track != nullptr ? find(*track, "time") : nullptr;
    const Json* const frequencies = track != nullptr ? find(*track, "frequency") : nullptr;
    const Json* const confidences = track != nullptr ? find(*track, "confidence") : nullptr;
    if (times == nullptr || frequencies == nullptr || !times->is_array() || !frequencies->is_array())
        fail(kCannotReadPitch, path, std::string("JSON whose track has ") + kNames, "none");
    const std::size_t count = times->size();
    for (const Json* column : {frequencies, confidences})
        if (column != nullptr && column->size() != count)
            fail(kCannotReadPitch, path, "columns of " + std::to_string(count) + " rows",
                 "one of " + std::to_string(column->size()));
    TrackRows rows(path);
    for (std::size_t i = 0; i < count; ++i)
        addRow(rows, path, "row " + std::to_string(i + 1), (*times)[i], (*frequencies)[i],
               confidences != nullptr ? &(*confidences)[i] : nullptr);
    return rows.take();
}

PitchTrack trackFromJsonLines(const std::string& bytes, const std::string& path) {
    TrackRows rows(path);
    std::istringstream lines(bytes);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        const std::string place = "line " + std::to_string(++number);
        if (line.empty()) continue;
        const Json row = Json::parse(line, nullptr, false);
        const Json* const time = find(row, "time");
        const Json* const frequency = find(row, "frequency");
        if (time == nullptr || frequency == nullptr)
            fail(kCannotReadPitch, path, std::string("JSON with ") + kNames + " in " + place, "none");
        addRow(rows, path, place, *time, *frequency, find(row, "confidence"));
    }
    return rows.take();
}

}  // namespace katessel
