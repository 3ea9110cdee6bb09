#include "apps/formats/TrackFormat.h"

#include <algorithm>
#include <filesystem>
#include <limits>

namespace katessel {

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
    };
    return formats;
}

const TrackFormat& trackFormat(const std::string& name) {
    return *std::find_if(trackFormats().begin(), trackFormats().end(),
                         [&](const TrackFormat& format) { return format.name == name; });
}

const TrackFormat& trackFormatOfFile(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    for (const TrackFormat& format : trackFormats())
        if (format.extension == extension) return format;
    return trackFormats().front();
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
