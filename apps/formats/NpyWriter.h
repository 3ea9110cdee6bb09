// A track as a NumPy array.
#pragma once

#include <string>

#include "apps/formats/TrackDocument.h"

namespace katessel {

// float32, rows x 3 in C order: time [s], pitch, confidence.
std::string npyBytes(const TrackDocument& document);

}  // namespace katessel
