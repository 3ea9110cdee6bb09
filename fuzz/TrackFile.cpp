// Arbitrary bytes as a pitch track: the first says of what kind, the rest is the file.
#include <cmath>
#include <string>

#include "ScratchFile.h"
#include "recordings/base/Errors.h"
#include "recordings/tracks/TrackRows.h"

namespace {

using katessel::PitchTrack;

PitchTrack read(std::uint8_t kind, const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size), path = scratchFile();
    switch (kind % 6) {
        case 0: return katessel::trackFromJson(bytes, path);
        case 1: return katessel::trackFromJsonLines(bytes, path);
        case 2: return katessel::trackFromNpy(bytes, path);
        case 3: return katessel::trackFromPraat(bytes, path);
        case 4: return katessel::trackFromMidi(bytes, path);
        default: writeScratchFile(data, size); return katessel::trackFromText(path);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    try {
        double last = -1e300;
        for (const katessel::PitchRow& row : read(data[0], data + 1, size - 1)) {
            require(std::isfinite(row.time) && row.time >= last);
            require(std::isfinite(row.frequency) && row.frequency >= 0.0f && std::isfinite(row.confidence));
            last = row.time;
        }
    } catch (const katessel::ToolError& error) {  // anything else that is thrown is a fault
        const std::string message = error.what();
        require(message.find(": expected ") != std::string::npos && message.find(", found ") != std::string::npos);
    }
    return 0;
}
