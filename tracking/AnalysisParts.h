// A whole recording of any length, analysed in parts with some sound around each: their seams do not show, and neither
// the length nor the memory for a converted copy has a limit.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "katessel/EngineFacts.hpp"
#include "katessel/Tracker.hpp"

namespace katessel {

// Calls add(const KaTessel::Pitch&) for every row of `length` samples at the tracker's rate, with the times of the whole,
// after each part of `partSeconds`. A part begins with a whole second, where the samples of every rate and the frames of
// 5 ms fall together.
template <class Add>
void analyseInParts(KaTessel::Tracker& tracker, const float* samples, std::int64_t length, std::int64_t partSeconds,
                    Add add) {
    constexpr std::int64_t kMarginSeconds = 1;  // far more than any row hears
    constexpr auto kRows = static_cast<std::size_t>(KaTessel::facts::kFramesPerSecond);
    const auto sampleAt = [&](std::int64_t second) { return std::min(second * tracker.rate(), length); };
    for (std::int64_t second = 0; sampleAt(second) < length; second += partSeconds) {
        const std::int64_t readFrom = std::max<std::int64_t>(second - kMarginSeconds, 0);
        const std::int64_t first = sampleAt(readFrom), last = sampleAt(second + partSeconds + kMarginSeconds);
        const KaTessel::PitchTrack rows = tracker.analyse(samples + first, static_cast<std::size_t>(last - first));
        const std::size_t begin = static_cast<std::size_t>(second - readFrom) * kRows;
        const std::size_t end = std::min(begin + static_cast<std::size_t>(partSeconds) * kRows, rows.size());
        for (std::size_t i = begin; i < end; ++i) {
            KaTessel::Pitch pitch = rows[i];
            pitch.time += static_cast<double>(readFrom);
            add(pitch);
        }
    }
}

}  // namespace katessel
