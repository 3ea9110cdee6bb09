// `katessel track`: the pitch of one recording.
#ifndef KATESSEL_APPS_TRACK_H
#define KATESSEL_APPS_TRACK_H

#include <optional>
#include <string>

enum class TrackMode { offline, live };

struct TrackOptions {
    std::string recording;
    std::string model;                // empty: the default model
    std::string output;               // empty: standard output
    std::optional<double> threshold;  // none: the model's own
    std::optional<TrackMode> mode;    // none: offline, or live where a block size is given
    std::optional<int> blockSize;     // [samples]; none: every frame
    bool cents = false;
};

void runTrack(const TrackOptions& options);

#endif
