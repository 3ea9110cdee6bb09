// Pitch from text: true pitch, as `.f0` files hold it ("seconds Hz" a line, every 5 ms from 0; 0: no pitch, -1: neither
// to be trained nor scored on), and tracks.
#pragma once

#include <string>
#include <vector>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// Reads an .f0 file: the frequency of every 5 ms [Hz].
std::vector<float> readReference(const std::string& path);

// Reads a track of this tool or of anyone's: time, frequency and, if there is a third column, confidence, separated by
// commas, tabs or blanks; a first line that is no number is a header. Frequencies that are 0, negative or nan are
// unvoiced. Without a third column the confidence is 1 for voiced rows and 0 for the others.
PitchTrack readTrack(const std::string& path);

// Reads an .f0 file, as a track that is sure of itself, or else a track.
PitchTrack readTrackOrReference(const std::string& path);

// The rows nearest to the instants 0, 5 ms, .. of `frames` frames; where none is within `tolerance` seconds the frame
// is unvoiced with confidence 0.
PitchTrack onGrid(const PitchTrack& track, std::size_t frames, double tolerance = 0.00501);

}  // namespace katessel
