// A track as a JSON object that also says where it comes from.
#pragma once

#include <string>

#include "apps/formats/TrackDocument.h"

namespace katessel {

// One line: `recording`, `sample_rate`, `start`, `end`, what the document is about, and `track` with one array a column.
// A pitch that is not a number is null.
std::string jsonText(const TrackDocument& document);

}  // namespace katessel
