// The file formats of a track, by name.
#pragma once

#include <string>
#include <vector>

#include "apps/formats/TrackDocument.h"

namespace katessel {

struct TrackFormat {
    const char* name;
    const char* extension;
    bool hasRows;   // one entry a row: unit and unvoiced rows can be chosen
    bool isBinary;  // nothing for a terminal
    std::string (*bytes)(const TrackDocument&);
};

// All of them; the first is the default.
const std::vector<TrackFormat>& trackFormats();

// The one of that name, which must be one of them.
const TrackFormat& trackFormat(const std::string& name);

// The one that a file of this name would be in, going by its extension; else the default.
const TrackFormat& trackFormatOfFile(const std::string& path);

}  // namespace katessel
