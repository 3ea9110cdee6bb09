// Tracks that a command is given, whichever text they are.
#pragma once

#include <string>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// Reads an .f0 file, as a track that is sure of itself, or else a track.
PitchTrack readTrackOrReference(const std::string& path);

}  // namespace katessel
