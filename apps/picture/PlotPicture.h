// The picture of `katessel plot`: spectrogram, pitch and confidence over time.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/picture/Canvas.h"
#include "apps/picture/Scales.h"
#include "recordings/audio/AudioFile.h"
#include "recordings/base/OnProgress.h"
#include "recordings/tracks/PitchTrack.h"

namespace katessel {

struct NamedTrack {
    std::string name;
    PitchTrack track;
};

struct PlotContent {
    std::string title;
    double start = 0.0, duration = 0.0;  // [s] the part that is shown
    double range = 70.0;                 // [dB] between white and the darkest colour
    std::optional<double> threshold;     // of the confidence; drawn where given
    NamedTrack pitch;                    // with its confidence
    std::vector<NamedTrack> overlays;    // pitch alone
};

// `recording` begins `offset` seconds after the instant 0 of the content; `onProgress` counts from the start of what is shown.
// Returns the bytes of the file.
std::string drawPlot(const PlotContent& content, const Recording& recording, double offset, const FrequencyScale& scale,
                     PictureFormat format, int width, int height, const OnProgress& onProgress);

}  // namespace katessel
