#include "apps/formats/TrackFormat.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <utility>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"

namespace katessel {

namespace {

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
    // name, extension, synonyms, hasRows, isBinary, needsLoudness, writer
    static const std::vector<TrackFormat> formats = {
        {"csv", ".csv", {"txt"}, true, false, false, &csvWriter},
        {"tsv", ".tsv", {"tab"}, true, false, false, &tsvWriter},
        {"json", ".json", {}, true, false, false, &wholeWriter<&jsonText>},
        {"jsonl", ".jsonl", {"ndjson", "jsonlines"}, true, false, false, &jsonLinesWriter},
        {"npy", ".npy", {"numpy"}, true, true, false, &wholeWriter<&npyBytes>},
        {"pitchtier", ".PitchTier", {}, false, false, false, &wholeWriter<&pitchTierText>},
        {"textgrid", ".TextGrid", {}, false, false, false, &wholeWriter<&textGridText>},
        {"pitch", ".Pitch", {"praat"}, false, false, false, &wholeWriter<&praatPitchText>},
        {"lab", ".lab", {"labels", "audacity"}, false, false, false, &labWriter},
        {"midi", ".mid", {"smf"}, false, true, true, &wholeWriter<&midiBytes>},
        {"f0", ".f0", {}, false, false, false, &f0Writer},
    };
    return formats;
}

const TrackFormat* findTrackFormat(const std::string& name) {
    const std::string wanted = lowerCase(name.substr(name.starts_with(".") ? 1 : 0));
    const auto isWanted = [&](const char* each) { return wanted == each; };
    for (const TrackFormat& format : trackFormats())
        if (isWanted(format.name) || wanted == lowerCase(format.extension + 1) ||
            std::any_of(format.synonyms.begin(), format.synonyms.end(), isWanted))
            return &format;
    return nullptr;
}

const TrackFormat& trackFormat(const std::string& name) { return *findTrackFormat(name); }

std::string trackFormatNames() {
    std::string names;
    for (const TrackFormat& format : trackFormats()) names.append(names.empty() ? "" : ",").append(format.name);
    return names;
}

const TrackFormat& trackFormatOfFile(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension.empty()) return trackFormats().front();
    if (const TrackFormat* format = findTrackFormat(extension)) return *format;
    std::string known = ".txt";
    for (const TrackFormat& format : trackFormats()) known.append(", ").append(format.extension);
    failUsage("unknown kind of track", path, "a name that ends with one of " + known + ", or --format", extension);
}

bool isNamedLikeTrack(const std::string& path) {
    return findTrackFormat(std::filesystem::path(path).extension().string()) != nullptr;
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
