#include "apps/formats/TrackFormat.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <limits>

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

}  // namespace

const std::vector<TrackFormat>& trackFormats() {
    // name, extension, hasRows, isBinary, bytes
    static const std::vector<TrackFormat> formats = {
        {"csv", ".csv", true, false, &csvText},
        {"tsv", ".tsv", true, false, &tsvText},
        {"json", ".json", true, false, &jsonText},
        {"npy", ".npy", true, true, &npyBytes},
        {"pitchtier", ".PitchTier", false, false, &pitchTierText},
        {"lab", ".lab", false, false, &labText},
        {"midi", ".mid", false, true, &midiBytes},
        {"f0", ".f0", false, false, &f0Text},
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

double pitchOf(const PitchRow& row, const TrackDocument& document) {
    if (row.frequency <= 0.0f)
        return document.unvoiced == UnvoicedRows::zero ? 0.0 : std::numeric_limits<double>::quiet_NaN();
    switch (document.unit) {
        case PitchUnit::cents: return centsAbove440(row.frequency);
        case PitchUnit::midi: return midiNote(row.frequency);
        default: return static_cast<double>(row.frequency);
    }
}

}  // namespace katessel
