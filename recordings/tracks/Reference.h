// True pitch, as `.f0` files hold it ("seconds Hz" a line, every 5 ms from 0; 0: no pitch, -1: neither to be trained nor
// scored on).
#pragma once

#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// Reads an .f0 file: the frequency of every 5 ms [Hz].
std::vector<float> readReference(const std::string& path);

// The rows nearest to the instants 0, 5 ms, .. of `frames` frames; where none is within `tolerance` seconds the frame
// is unvoiced with confidence 0.
PitchTrack onGrid(const PitchTrack& track, std::size_t frames, double tolerance = 0.00501);

}  // namespace katessel
