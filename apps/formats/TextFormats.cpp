// Tracks as text: columns, segments, points.
#include <cmath>
#include <optional>
#include <utility>

#include "apps/formats/TrackFormat.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

class ColumnWriter : public TrackWriter {
public:
    ColumnWriter(TrackHead head, char separator) : m_head(std::move(head)), m_separator(separator) {}

    void add(const PitchRow& row, std::string& bytes) override {
        begin(bytes);
        if (!isWanted(row, m_head)) return;
        appendCsvLine(bytes, row.time, pitchOf(row, m_head), row.confidence, m_separator);
        if (!m_head.loudness) return;
        bytes.back() = m_separator;  // instead of the line's end
        appendFixed(bytes, row.loudness, 2);
        bytes += '\n';
    }

    void finish(double, std::string& bytes) override { begin(bytes); }

private:
    void begin(std::string& bytes) {
        if (std::exchange(m_hasBegun, true)) return;
        bytes += "time";
        for (const char* name : {pitchColumn(m_head.unit), "confidence"}) bytes.append(1, m_separator).append(name);
        if (m_head.loudness) bytes.append(1, m_separator).append("loudness");
        bytes += '\n';
    }

    TrackHead m_head;
    char m_separator;
    bool m_hasBegun = false;
};

class F0Writer : public TrackWriter {
public:
    void add(const PitchRow& row, std::string& bytes) override {
        const long frame = std::lround(row.time / kHopSeconds);
        while (m_frames < frame) appendLine(-1.0f, bytes);
        if (m_frames == frame) appendLine(row.frequency, bytes);
    }

    void finish(double, std::string&) override {}

private:
    void appendLine(float frequency, std::string& bytes) {
        appendFixed(bytes, static_cast<double>(m_frames++) * kHopSeconds, 3);
        bytes += ' ';
        appendFixed(bytes, frequency, 3);
        bytes += '\n';
    }

    long m_frames = 0;  // written
};

class SegmentWriter : public TrackWriter {
public:
    explicit SegmentWriter(const TrackHead& head) : m_begin(head.start) {}

    void add(const PitchRow& row, std::string& bytes) override {
        if (m_before && (m_before->frequency > 0.0f) != (row.frequency > 0.0f))
            appendSegment(0.5 * (m_before->time + row.time), bytes);
        m_before = row;
    }

    void finish(double end, std::string& bytes) override {
        if (m_before) appendSegment(end, bytes);
    }

private:
    // The one that the last row belongs to.
    void appendSegment(double end, std::string& bytes) {
        appendFixed(bytes, m_begin, 4);
        bytes += '\t';
        appendFixed(bytes, end, 4);
        bytes += m_before->frequency > 0.0f ? "\tvoiced\n" : "\tunvoiced\n";
        m_begin = end;
    }

    double m_begin;  // [s] of the segment
    std::optional<PitchRow> m_before;
};

// One "name = value" line of a PitchTier.
std::string entry(const char* name, double value, int decimals) {
    return name + (" = " + fixedText(value, decimals)) + "\n";
}

}  // namespace

void appendCsvLine(std::string& text, double time, double pitch, double confidence, char separator) {
    appendFixed(text, time, 3);
    text += separator;
    appendFixed(text, pitch, 3);
    text += separator;
    appendFixed(text, confidence, 6);
    text += '\n';
}

std::unique_ptr<TrackWriter> csvWriter(TrackHead head) { return std::make_unique<ColumnWriter>(std::move(head), ','); }

std::unique_ptr<TrackWriter> tsvWriter(TrackHead head) { return std::make_unique<ColumnWriter>(std::move(head), '\t'); }

std::unique_ptr<TrackWriter> f0Writer(TrackHead) { return std::make_unique<F0Writer>(); }

std::unique_ptr<TrackWriter> labWriter(TrackHead head) { return std::make_unique<SegmentWriter>(head); }

std::string pitchTierText(const TrackDocument& document) {
    std::string points;
    std::size_t count = 0;
    for (const PitchRow& row : document.track) {
        if (row.frequency <= 0.0f) continue;
        points += "points [" + std::to_string(++count) + "]:\n";
        points += entry("    number", row.time, 6);
        points += entry("    value", row.frequency, 3);
    }
    return "File type = \"ooTextFile\"\nObject class = \"PitchTier\"\n\n" + entry("xmin", document.start, 6) +
           entry("xmax", document.end, 6) + "points: size = " + std::to_string(count) + "\n" + points;
}

}  // namespace katessel
