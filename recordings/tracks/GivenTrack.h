// Tracks that a command is given, whichever text they are.
#ifndef KATESSEL_APPS_GIVENTRACK_H
#define KATESSEL_APPS_GIVENTRACK_H

#include <string>

#include "recordings/tracks/PitchTrack.h"

// Reads an .f0 file, as a track that is sure of itself, or else a track.
PitchTrack readTrackOrReference(const std::string& path);

#endif
