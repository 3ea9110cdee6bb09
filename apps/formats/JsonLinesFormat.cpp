// Tracks as lines of JSON, one a row, for programs that read while the sound still comes.
#include <cmath>
#include <utility>

#include "apps/formats/TrackFormat.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

class JsonLinesWriter : public TrackWriter {
public:
    explicit JsonLinesWriter(TrackHead head) : m_head(std::move(head)) {}

    void add(const PitchRow& row, std::string& bytes) override {
        if (!isWanted(row, m_head)) return;
        bytes += "{\"time\":";
        appendFixed(bytes, row.time, 3);
        bytes.append(",\"").append(pitchColumn(m_head.unit)).append("\":");
        const double pitch = pitchOf(row, m_head);
        if (std::isnan(pitch))
            bytes += "null";
        else
            appendFixed(bytes, pitch, 3);
        bytes += ",\"confidence\":";
        appendFixed(bytes, row.confidence, 6);
        if (m_head.loudness) {
            bytes += ",\"loudness\":";
            appendFixed(bytes, row.loudness, 2);
        }
        bytes += "}\n";
    }

    void finish(double, std::string&) override {}

private:
    TrackHead m_head;
};

}  // namespace

std::unique_ptr<TrackWriter> jsonLinesWriter(TrackHead head) {
    return std::make_unique<JsonLinesWriter>(std::move(head));
}

}  // namespace katessel
