// A track as text in columns, separated by commas or tabs.
#pragma once

#include <string>

#include "apps/formats/TrackDocument.h"

namespace katessel {

// A header line and one line a row: time [s], pitch, confidence. A pitch that is not a number is `nan`.
std::string csvText(const TrackDocument& document);
std::string tsvText(const TrackDocument& document);

}  // namespace katessel
