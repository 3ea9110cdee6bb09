#include "recordings/tracks/TrackReader.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "recordings/base/Errors.h"
#include "recordings/base/Text.h"
#include "recordings/base/TextFile.h"
#include "recordings/tracks/TrackRows.h"

namespace katessel {

namespace {

constexpr double kFarthest = 1e9;  // [s]
constexpr double kHighest = 1e6;   // [Hz]

struct Kind {
    const char* extension;  // in small letters
    PitchTrack (*read)(const std::string& bytes, const std::string& path);
};

constexpr Kind kKinds[] = {{".json", &trackFromJson},       {".jsonl", &trackFromJsonLines}, {".npy", &trackFromNpy},
                           {".pitchtier", &trackFromPraat}, {".pitch", &trackFromPraat},     {".mid", &trackFromMidi},
                           {".midi", &trackFromMidi}};

std::string extensionOf(const std::string& path) { return lowerCase(std::filesystem::path(path).extension().string()); }

}  // namespace

void TrackRows::add(const std::string& place, double time, double frequency) {
    add(place, time, frequency, frequency > 0.0 ? 1.0 : 0.0);
}

void TrackRows::add(const std::string& place, double time, double frequency, double confidence) {
    if (!(std::fabs(time) <= kFarthest))
        fail(kCannotReadPitch, m_path, "times within +-" + shortNumber(kFarthest) + " s, in " + place,
             shortNumber(time) + " s");
    if (frequency > kHighest)
        fail(kCannotReadPitch, m_path, "frequencies up to " + shortNumber(kHighest) + " Hz, in " + place,
             shortNumber(frequency) + " Hz");
    if (!m_track.empty() && !(time >= m_track.back().time))
        fail(kCannotReadPitch, m_path, "times that rise, in " + place, shortNumber(time) + " s");
    const bool isVoiced = frequency > 0.0, isKnown = std::isfinite(static_cast<float>(confidence));
    if (isVoiced && !isKnown)
        fail(kCannotReadPitch, m_path, "confidences that are numbers, in " + place, shortNumber(confidence));
    m_track.push_back(
        {time, isVoiced ? static_cast<float>(frequency) : 0.0f, isKnown ? static_cast<float>(confidence) : 0.0f});
}

bool isNamedLikePitch(const std::string& path) {
    return std::any_of(std::begin(kReadableTracks), std::end(kReadableTracks),
                       [extension = extensionOf(path)](const char* each) { return extension == lowerCase(each); });
}

PitchTrack readTrack(const std::string& path) {
    const std::string extension = extensionOf(path);
    for (const Kind& kind : kKinds)
        if (extension == kind.extension) return kind.read(readFile(path, kCannotReadPitch, "a track"), path);
    return trackFromText(path);
}

}  // namespace katessel
