#include "recordings/tracks/Reference.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/base/TextFile.h"
#include "recordings/tracks/TrackRows.h"

namespace katessel {

namespace {

// The numbers of a line, whatever separates them. Returns false when something on it is no number.
bool numbersOf(std::string line, std::vector<double>& numbers) {
    for (char& c : line)
        if (c == ',' || c == ';' || c == '\t' || c == '\r') c = ' ';
    std::istringstream in(line);
    numbers.clear();
    for (std::string word; in >> word;) {
        char* end = nullptr;
        numbers.push_back(std::strtod(word.c_str(), &end));
        if (end == word.c_str() || *end != '\0') return false;
    }
    return true;
}

// Calls row(numbers) for every line that is not empty; a first line that is no row of numbers may be skipped.
template <typename Row>
void forEachRow(const std::string& path, std::size_t columns, bool mayHaveHeader, Row row) {
    std::vector<double> numbers;
    bool isEmpty = true;
    forEachLine(path, kCannotReadPitch, [&](const std::string& line, std::size_t lineNumber) {
        isEmpty = false;
        const bool clean = numbersOf(line, numbers);
        if (clean && numbers.empty()) return;
        if (!clean && lineNumber == 1 && mayHaveHeader) {
            if (line.find("cents") != std::string::npos) fail(kCannotReadPitch, path, "frequencies in Hz", "cents");
            return;
        }
        if (!clean || numbers.size() < columns)
            fail(kCannotReadPitch, path, std::to_string(columns) + " numbers in line " + std::to_string(lineNumber),
                 "\"" + line + "\"");
        row(numbers, lineNumber);
    });
    if (isEmpty) fail(kCannotReadPitch, path, "at least one line", "none");
}

}  // namespace

std::vector<float> readReference(const std::string& path) {
    std::vector<float> frequencies;
    forEachRow(path, 2, false, [&](const std::vector<double>& numbers, std::size_t line) {
        const double expected = static_cast<double>(frequencies.size()) * kHopSeconds;
        if (std::fabs(numbers[0] - expected) > 0.1 * kHopSeconds)
            fail(kCannotReadPitch, path, shortNumber(expected) + " s in line " + std::to_string(line),
                 shortNumber(numbers[0]) + " s");
        if (!std::isfinite(numbers[1]) || (numbers[1] < 0.0 && numbers[1] != -1.0))
            fail(kCannotReadPitch, path, "a frequency, 0 or -1 in line " + std::to_string(line),
                 shortNumber(numbers[1]));
        frequencies.push_back(static_cast<float>(numbers[1]));
    });
    return frequencies;
}

PitchTrack trackFromText(const std::string& path) {
    TrackRows rows(path);
    forEachRow(path, 2, true, [&](const std::vector<double>& numbers, std::size_t line) {
        const std::string place = "line " + std::to_string(line);
        if (numbers.size() > 2)
            rows.add(place, numbers[0], numbers[1], numbers[2]);
        else
            rows.add(place, numbers[0], numbers[1]);
    });
    return rows.take();
}

PitchTrack onGrid(const PitchTrack& track, std::size_t frames, double tolerance) {
    PitchTrack grid(frames);
    auto next = track.begin();
    for (std::size_t f = 0; f < frames; ++f) {
        const double time = static_cast<double>(f) * kHopSeconds;
        next = std::lower_bound(next, track.end(), time, [](const PitchRow& row, double t) { return row.time < t; });
        auto nearest = next;
        if (next == track.end() || (next != track.begin() && time - (next - 1)->time < next->time - time))
            nearest = track.empty() ? next : next - 1;
        if (nearest != track.end() && std::fabs(nearest->time - time) <= tolerance) grid[f] = *nearest;
        grid[f].time = time;
        if (next != track.begin()) --next;
    }
    return grid;
}

}  // namespace katessel
