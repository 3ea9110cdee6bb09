// A spectrogram as a picture: the level at every pixel.
#pragma once

#include <vector>

#include "apps/picture/Scales.h"
#include "recordings/audio/AudioFile.h"
#include "recordings/base/OnProgress.h"

namespace katessel {

struct Spectrogram {
    int columns = 0, rows = 0;
    std::vector<float> levels;  // rows x columns, the top frequency first [dB, 0 dB: a sine of amplitude 1]

    float at(int row, int column) const {
        return levels[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                      static_cast<std::size_t>(column)];
    }
};

constexpr float kSilentLevel = -200.0f;  // [dB] nothing is below, and what lies above half the sample rate is here

// The part from `start` [s] on, `duration` long, one value per pixel. A pixel that is longer than 10 ms or higher than a
// bin shows the loudest of what it covers.
Spectrogram makeSpectrogram(const Recording& recording, double start, double duration, const FrequencyScale& scale,
                            int columns, int rows, const OnProgress& onProgress);

}  // namespace katessel
