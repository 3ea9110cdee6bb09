// What the network's two outputs mean.
#pragma once

#include "katessel/EngineFacts.hpp"

namespace KaTessel {

// Second output to confidence.
inline float confidenceOf(float voicing) {
    const float confidence = (facts::kVoicingLimit - voicing) * facts::kConfidencePerUnit;
    return confidence > 0.0f ? confidence : 0.0f;
}

// First output to octaves above 440 Hz: -1 is about 52.5 Hz, +1 about 1090 Hz.
inline float liveOctaves(float pitch) { return (1.0f + pitch) * facts::kOctavesPerUnit - facts::kLiveOffset; }
inline float offlineOctaves(float pitch) { return (pitch + 1.0f) * facts::kOctavesPerUnit - facts::kOfflineOffset; }

}  // namespace KaTessel
