// Tracks as Praat's text files: intervals of notes and voicing, and pitch with its strength.
#include <algorithm>
#include <string_view>
#include <utility>

#include "apps/formats/TrackFormat.h"
#include "recordings/base/Text.h"
#include "recordings/tracks/Notes.h"

namespace katessel {

namespace {

constexpr double kCeiling = 1200.0;  // [Hz] above every pitch of the engine; Praat's axes end there

// Lines "name = value", indented by the depth that they have in Praat's own files.
class PraatText {
public:
    explicit PraatText(std::string_view kind) {
        m_text.append("File type = \"ooTextFile\"\nObject class = \"").append(kind).append("\"\n\n");
    }

    PraatText& line(int depth, std::string_view text) {
        m_text.append(static_cast<std::size_t>(4 * depth), ' ').append(text).append("\n");
        return *this;
    }
    PraatText& number(int depth, std::string_view name, double value, int decimals = 6) {
        return line(depth, std::string(name).append(" = ").append(fixedText(value, decimals)));
    }
    PraatText& text(int depth, std::string_view name, std::string_view value) {
        return line(depth, std::string(name).append(" = \"").append(value).append("\""));
    }
    PraatText& item(int depth, std::string_view name, std::size_t index) {
        return line(depth, std::string(name).append(" [").append(std::to_string(index)).append("]:"));
    }

    std::string take() { return std::move(m_text); }

private:
    std::string m_text;
};

struct Interval {
    double start, end;  // [s]
    std::string label;
};

// Adds what is labelled from `start` to `end`, and before it an empty interval where there is room.
void append(std::vector<Interval>& intervals, double from, double start, double end, const std::string& label) {
    const double before = intervals.empty() ? from : intervals.back().end;
    if (start > before) intervals.push_back({before, start, ""});
    if (end > start) intervals.push_back({start, end, label});
}

std::vector<Interval> notesOf(const TrackDocument& document) {
    std::vector<Interval> intervals;
    for (const Note& note : findNotes(document.track, document.end))
        append(intervals, document.start, note.start, note.end, noteName(note.number));
    append(intervals, document.start, document.end, document.end, "");
    return intervals;
}

// As the segments of `.lab` files, which meet in the middle between two rows.
std::vector<Interval> voicedOf(const TrackDocument& document) {
    const PitchTrack& track = document.track;
    std::vector<Interval> intervals;
    for (std::size_t i = 0; i < track.size(); ++i) {
        if (track[i].frequency <= 0.0f) continue;
        const std::size_t first = i;
        while (i + 1 < track.size() && track[i + 1].frequency > 0.0f) ++i;
        append(intervals, document.start,
               first == 0 ? document.start : 0.5 * (track[first - 1].time + track[first].time),
               i + 1 == track.size() ? document.end : 0.5 * (track[i].time + track[i + 1].time), "voiced");
    }
    append(intervals, document.start, document.end, document.end, "");
    return intervals;
}

void appendTier(PraatText& text, std::size_t index, std::string_view name, const TrackDocument& document,
                const std::vector<Interval>& intervals) {
    text.item(1, "item", index).text(2, "class", "IntervalTier").text(2, "name", name);
    text.number(2, "xmin", document.start).number(2, "xmax", document.end);
    text.line(2, "intervals: size = " + std::to_string(intervals.size()));
    for (std::size_t i = 0; i < intervals.size(); ++i) {
        text.item(2, "intervals", i + 1).number(3, "xmin", intervals[i].start).number(3, "xmax", intervals[i].end);
        text.text(3, "text", intervals[i].label);
    }
}

}  // namespace

std::string textGridText(const TrackDocument& document) {
    PraatText text("TextGrid");
    text.number(0, "xmin", document.start).number(0, "xmax", document.end);
    text.line(0, "tiers? <exists>").line(0, "size = 2").line(0, "item []:");
    appendTier(text, 1, "notes", document, notesOf(document));
    appendTier(text, 2, "voicing", document, voicedOf(document));
    return text.take();
}

std::string praatPitchText(const TrackDocument& document) {
    const PitchTrack& track = document.track;
    PraatText text("Pitch 1");
    text.number(0, "xmin", document.start).number(0, "xmax", document.end);
    text.line(0, "nx = " + std::to_string(track.size())).number(0, "dx", kHopSeconds);
    text.number(0, "x1", track.empty() ? document.start : track[0].time).number(0, "ceiling", kCeiling, 0);
    text.line(0, "maxnCandidates = 1").line(0, "frame []:");
    for (std::size_t i = 0; i < track.size(); ++i) {
        text.item(1, "frame", i + 1).line(2, "intensity = 1").line(2, "nCandidates = 1").line(2, "candidate []:");
        text.item(3, "candidate", 1).number(4, "frequency", std::max(track[i].frequency, 0.0f), 3);
        text.number(4, "strength", track[i].confidence);
    }
    return text.take();
}

}  // namespace katessel
