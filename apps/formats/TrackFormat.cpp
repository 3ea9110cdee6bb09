#include "apps/formats/TrackFormat.h"

#include <algorithm>
#include <filesystem>

#include "apps/formats/CsvWriter.h"
#include "apps/formats/JsonWriter.h"
#include "apps/formats/LabWriter.h"
#include "apps/formats/MidiWriter.h"
#include "apps/formats/NpyWriter.h"
#include "apps/formats/PitchTierWriter.h"

namespace katessel {

const std::vector<TrackFormat>& trackFormats() {
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

}  // namespace katessel
