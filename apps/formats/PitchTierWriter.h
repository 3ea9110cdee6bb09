// A track as a Praat PitchTier: a point in Hz for every voiced row.
#ifndef KATESSEL_APPS_PITCHTIERWRITER_H
#define KATESSEL_APPS_PITCHTIERWRITER_H

#include <string>

#include "apps/formats/TrackDocument.h"

std::string pitchTierText(const TrackDocument& document);

#endif
