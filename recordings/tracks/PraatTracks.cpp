// Tracks from Praat's text files of kind PitchTier and Pitch.
#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <sstream>
#include <vector>

#include "recordings/base/Errors.h"
#include "recordings/tracks/TrackRows.h"

namespace katessel {

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t\r"), end = text.find_last_not_of(" \t\r");
    return begin == std::string::npos ? "" : text.substr(begin, end - begin + 1);
}

// Rows out of lines "name = value", each with what the lines before it said.
class PraatReader {
public:
    explicit PraatReader(const std::string& path) : m_rows(path), m_path(path) {}

    void take(const std::string& name, const std::string& value, std::size_t line) {
        const std::string place = "line " + std::to_string(line);
        if (name == "Object class") m_isPitch = value.starts_with("\"Pitch ");
        if (name == "Object class" && !m_isPitch && value != "\"PitchTier\"")
            fail(kCannotReadPitch, m_path, "a PitchTier or a Pitch of Praat", value);
        char* end = nullptr;
        const double number = std::strtod(value.c_str(), &end);
        if (end == value.c_str()) return;
        if (name == "nCandidates") ++m_frame, m_isFirst = true;
        if (!m_isPitch && name == "value") m_rows.add(place, m_values["number"], number);
        if (m_isPitch && name == "strength" && m_isFirst) {
            const double frequency = m_values["frequency"];
            const bool isVoiced = frequency > 0.0 && (m_values["ceiling"] <= 0.0 || frequency <= m_values["ceiling"]);
            m_rows.add(place, m_values["x1"] + (m_frame - 1.0) * m_values["dx"], isVoiced ? frequency : 0.0, number);
            m_isFirst = false;
        }
        m_values[name == "time" ? "number" : name] = number;  // what older files call it
    }

    bool isPitch() const { return m_isPitch; }
    PitchTrack rows() { return m_rows.take(); }

private:
    TrackRows m_rows;
    std::string m_path;
    bool m_isPitch = false, m_isFirst = false;
    double m_frame = 0.0;  // how many have begun
    std::map<std::string, double> m_values;
};

// A PitchTier has points only where there is a pitch: an unvoiced row beside each stretch of them, as far away as points are.
PitchTrack withSilence(const PitchTrack& points) {
    std::vector<double> steps;
    for (std::size_t i = 1; i < points.size(); ++i) steps.push_back(points[i].time - points[i - 1].time);
    if (steps.empty()) return points;
    std::nth_element(steps.begin(), steps.begin() + std::ssize(steps) / 2, steps.end());
    const double step = steps[steps.size() / 2];
    PitchTrack rows;
    const auto addSilence = [&](double time) { rows.push_back({time, 0.0f, 0.0f}); };
    for (const PitchRow& point : points) {
        const double gap = rows.empty() ? 3.0 * step : point.time - rows.back().time;
        if (gap > 1.5 * step && !rows.empty()) addSilence(rows.back().time + step);
        if (gap > 2.5 * step) addSilence(point.time - step);
        rows.push_back(point);
    }
    addSilence(points.back().time + step);
    return rows;
}

}  // namespace

PitchTrack trackFromPraat(const std::string& bytes, const std::string& path) {
    if (!bytes.starts_with("File type = \"ooTextFile\""))
        fail(kCannotReadPitch, path, "a text file of Praat in its long form, in ASCII or UTF-8", "something else");
    PraatReader reader(path);
    std::istringstream lines(bytes);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        const std::size_t sign = line.find('=');
        if (sign != std::string::npos)
            reader.take(trimmed(line.substr(0, sign)), trimmed(line.substr(sign + 1)), number);
    }
    return reader.isPitch() ? reader.rows() : withSilence(reader.rows());
}

}  // namespace katessel
