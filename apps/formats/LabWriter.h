// A track as labelled segments: where the recording is voiced and where it is not.
#pragma once

#include <string>

#include "apps/formats/TrackDocument.h"

namespace katessel {

// One line a segment: its start [s], its end [s] and `voiced` or `unvoiced`, separated by tabs. The segments cover the
// part that was tracked; between two rows that differ they meet in the middle.
std::string labText(const TrackDocument& document);

}  // namespace katessel
