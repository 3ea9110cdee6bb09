// Pitch tracks from files, of this tool or of anyone.
#pragma once

#include <string>

#include "recordings/tracks/PitchTrack.h"

namespace katessel {

// Whether a file of this name says that it is a track, rather than a recording. In capitals or not.
bool isNamedLikePitch(const std::string& path);

// Reads a track in the format that the file's extension says:
//
//   .json, .jsonl       as this tool writes them, with a column `frequency`
//   .npy                float32 or float64, rows of time [s], frequency [Hz] and perhaps confidence
//   .PitchTier, .Pitch  of Praat, as text; the first candidate of every frame
//   .mid                notes and their bends, as a row every 5 ms
//   any other           text: time, frequency and perhaps confidence, separated by commas, tabs or blanks; a first line that is
//                       no number is a header
//
// Frequencies that are 0, negative or no number are unvoiced. Without a confidence it is 1 for voiced rows and 0 for the others;
// one that is no number is 0 where the row is unvoiced, and an error elsewhere.
PitchTrack readTrack(const std::string& path);

// The extensions, as `track` writes them.
inline constexpr const char* kReadableTracks[] = {".csv",       ".tsv",   ".txt", ".json", ".jsonl", ".npy",
                                                  ".PitchTier", ".Pitch", ".f0",  ".mid",  ".midi"};

}  // namespace katessel
