// What the readers of all kinds of tracks have in common.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

inline constexpr char kCannotReadPitch[] = "cannot read the pitch";

// Rows as a file gives them, checked one by one; a fault is named with its place, "line 3".
class TrackRows {
public:
    explicit TrackRows(std::string path) : m_path(std::move(path)) {}

    void add(const std::string& place, double time, double frequency);  // the confidence follows from the voicing
    void add(const std::string& place, double time, double frequency, double confidence);

    PitchTrack take() { return std::move(m_track); }

private:
    std::string m_path;
    PitchTrack m_track;
};

// One reader for each kind of file, from its bytes. `path` is named when they are not of that kind.
PitchTrack trackFromText(const std::string& path);
PitchTrack trackFromJson(const std::string& bytes, const std::string& path);
PitchTrack trackFromJsonLines(const std::string& bytes, const std::string& path);
PitchTrack trackFromNpy(const std::string& bytes, const std::string& path);
PitchTrack trackFromPraat(const std::string& bytes, const std::string& path);
PitchTrack trackFromMidi(const std::string& bytes, const std::string& path);

}  // namespace katessel
