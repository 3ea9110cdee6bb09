// A track as a Praat PitchTier: a point in Hz for every voiced row.
#pragma once

#include <string>

#include "apps/formats/TrackDocument.h"

namespace katessel {

std::string pitchTierText(const TrackDocument& document);

}  // namespace katessel
