// Producing a track with the offline form of the engine: the whole recording at once.
#pragma once

#include <string>

#include "recordings/audio/AudioFile.h"
#include "recordings/tracks/PitchTrack.h"
#include "tracking/TrackEngine.h"

namespace katessel {

// Estimates for every 5 ms from instant 0 on, as long as the instant lies inside the recording. A recording at a rate
// above what the engine takes is converted first. The recording's samples are used up: zeros are put around them.
PitchTrack offlineTrack(Recording recording, const std::string& path, TrackEngine& engine);
PitchTrack offlineTrack(Recording recording, const std::string& path, const std::string& model);

}  // namespace katessel
