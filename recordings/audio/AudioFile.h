// Recordings: any file that libsndfile reads, as one channel.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "recordings/audio/SoundSource.h"

namespace katessel {

struct Recording {
    int rate = 0;                // [Hz]
    std::vector<float> samples;  // mono, nominally -1 .. 1
    std::string damage;          // why it is not whole, as a whole message; empty: nothing known

    std::int64_t length() const { return static_cast<std::int64_t>(samples.size()); }
    double seconds() const { return static_cast<double>(samples.size()) / rate; }
};

// What to take of a recording.
struct SoundSelection {
    std::optional<int> channel;  // from 1 on; none: the average of all
    double from = 0.0;           // [s]
    double to = std::numeric_limits<double>::infinity();
    std::optional<RawForm> raw;  // none: the file says itself what it is
    bool allowDamaged = false;   // take what there is of a file that is cut off
};

// Reads what is selected; nothing where the recording ends before. Fails when there is no such file, when its format is
// unknown or broken, when it is damaged (unless that is allowed, and nothing is missing before its end), when it holds no
// samples, and when a sample is not a number or absurdly large: one such sample
// would poison the estimates around it without a trace in the output. The path "-" is standard input.
Recording readRecording(const std::string& path, const SoundSelection& selection = {});

// The same sound at `rate` [Hz], aligned in time with the original: for rates that the engine cannot stream without
// losing samples. `path` is named when it fails.
Recording convertRate(const Recording& recording, int rate, const std::string& path);

}  // namespace katessel
