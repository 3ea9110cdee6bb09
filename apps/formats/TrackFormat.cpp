#include "apps/formats/TrackFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>
#include <utility>

#include "recordings/base/Errors.h"

namespace katessel {

namespace {

std::string lowerCase(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// The one whose name or extension that is, in any case; null: none.
const TrackFormat* formatNamed(const std::string& extension) {
    const std::string wanted = lowerCase(extension);
    if (wanted == ".txt") return &trackFormats().front();
    for (const TrackFormat& format : trackFormats())
        if (wanted == lowerCase(format.extension) || wanted == std::string(".") + format.name) return &format;
    return nullptr;
}

// Keeps the rows of a format that needs all of them.
template <std::string (*kBytes)(const TrackDocument&)>
class WholeTrackWriter : public TrackWriter {
public:
    explicit WholeTrackWriter(TrackHead head) : m_document{std::move(head), {}, 0.0} {}

    void add(const PitchRow& row, std::string&) override { m_document.track.push_back(row); }

    void finish(double end, std::string& bytes) override {
        m_document.end = end;
        bytes += kBytes(m_document);
    }

private:
    TrackDocument m_document;
};

template <std::string (*kBytes)(const TrackDocument&)>
std::unique_ptr<TrackWriter> wholeWriter(TrackHead head) {
    return std::make_unique<WholeTrackWriter<kBytes>>(std::move(head));
}

}  // namespace

const std::vector<TrackFormat>& trackFormats() {
    // name, extension, hasRows, isBinary, writer
    static const std::vector<TrackFormat> formats = {
        {"csv", ".csv", true, false, &csvWriter},
        {"tsv", ".tsv", true, false, &tsvWriter},
        {"json", ".json", true, false, &wholeWriter<&jsonText>},
        {"jsonl", ".jsonl", true, false, &jsonLinesWriter},
        {"npy", ".npy", true, true, &wholeWriter<&npyBytes>},
        {"pitchtier", ".PitchTier", false, false, &wholeWriter<&pitchTierText>},
        {"textgrid", ".TextGrid", false, false, &wholeWriter<&textGridText>},
        {"pitch", ".Pitch", false, false, &wholeWriter<&praatPitchText>},
        {"lab", ".lab", false, false, &labWriter},
        {"midi", ".mid", false, true, &wholeWriter<&midiBytes>},
        {"f0", ".f0", false, false, &f0Writer},
    };
    return formats;
}

const TrackFormat& trackFormat(const std::string& name) {
    return *std::find_if(trackFormats().begin(), trackFormats().end(),
                         [&](const TrackFormat& format) { return format.name == name; });
}

const TrackFormat& trackFormatOfFile(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension.empty()) return trackFormats().front();
    if (const TrackFormat* format = formatNamed(extension)) return *format;
    std::string known = ".txt";
    for (const TrackFormat& format : trackFormats()) known.append(", ").append(format.extension);
    failUsage("unknown kind of track", path, "a name that ends with one of " + known + ", or --format", extension);
}

bool isNamedLikeTrack(const std::string& path) {
    return formatNamed(std::filesystem::path(path).extension().string()) != nullptr;
}

const char* pitchColumn(PitchUnit unit) {
    switch (unit) {
        case PitchUnit::cents: return "cents";
        case PitchUnit::midi: return "midi";
        default: return "frequency";
    }
}

double pitchOf(const PitchRow& row, const TrackHead& head) {
    if (row.frequency <= 0.0f)
        return head.unvoiced == UnvoicedRows::zero ? 0.0 : std::numeric_limits<double>::quiet_NaN();
    switch (head.unit) {
        case PitchUnit::cents: return centsAbove440(row.frequency);
        case PitchUnit::midi: return midiNote(row.frequency);
        default: return static_cast<double>(row.frequency);
    }
}

}  // namespace katessel
