#include "recordings/tracks/GivenTrack.h"

#include <algorithm>
#include <filesystem>

#include "recordings/tracks/Reference.h"

namespace katessel {

PitchTrack readTrackOrReference(const std::string& path) {
    if (std::filesystem::path(path).extension() != ".f0") return readTrack(path);
    PitchTrack track;
    for (const float frequency : readReference(path)) {
        const double time = static_cast<double>(track.size()) * kFrameSeconds;
        track.push_back({time, std::max(frequency, 0.0f), frequency > 0.0f ? 1.0f : 0.0f});
    }
    return track;
}

}  // namespace katessel
