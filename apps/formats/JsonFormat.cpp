// Tracks as JSON that also says where they come from.
#include <cmath>
#include <nlohmann/json.hpp>

#include "apps/formats/TrackFormat.h"

namespace katessel {

namespace {

// With the decimals that the text formats have. A not-a-number becomes null when it is written.
double rounded(double value, double steps) { return std::round(value * steps) / steps; }

}  // namespace

std::string jsonText(const TrackDocument& document) {
    using Json = nlohmann::ordered_json;
    Json times = Json::array(), pitches = Json::array(), confidences = Json::array();
    forEachRow(document, [&](double time, double pitch, double confidence) {
        times.push_back(rounded(time, 1e3));
        pitches.push_back(rounded(pitch, 1e3));
        confidences.push_back(rounded(confidence, 1e6));
    });
    Json all;
    all["recording"] = document.recording;
    all["sample_rate"] = document.rate;
    all["start"] = rounded(document.start, 1e6);
    all["end"] = rounded(document.end, 1e6);
    all.update(Json::parse(document.about));
    Json& track = all["track"];
    track["time"] = std::move(times);
    track[pitchColumn(document.unit)] = std::move(pitches);
    track["confidence"] = std::move(confidences);
    // A path may hold any bytes, JSON only UTF-8.
    return all.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace katessel
