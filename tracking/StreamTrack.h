// Producing a track with the live engine: the recording passes through it block by block.
#pragma once

#include <string>

#include "recordings/audio/AudioFile.h"
#include "recordings/tracks/PitchTrack.h"
#include "tracking/TrackEngine.h"

namespace katessel {

// Estimates for every 5 ms from instant 0 on, as long as the instant lies inside the recording. A recording at
// a rate that the engine cannot stream whole is converted first.
PitchTrack streamTrack(const Recording& recording, const std::string& path, TrackEngine& engine);
PitchTrack streamTrack(const Recording& recording, const std::string& path, const std::string& model);

// What a host that passes `blockSize` samples a call sees: one estimate for each call that completed a frame.
// Never converts; a block size that the engine cannot take at this rate is wrong usage.
PitchTrack streamTrackInBlocks(const Recording& recording, const std::string& path, TrackEngine& engine, int blockSize);

}  // namespace katessel
