// A whole recording of any length, analysed in parts with some sound around each: their seams do not show, and neither
// the length nor the memory has a limit.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "katessel/EngineFacts.hpp"
#include "katessel/Tracker.hpp"

namespace katessel {

// Calls add(const KaTessel::Pitch&) for every row, with the times of the whole, after each part of `partSeconds`. The sound,
// at the tracker's rate, comes from fill(std::vector<float>&, std::size_t length), which appends until there are
// `length` samples, or all. A part begins with a whole second, where the samples of every rate and the frames of 5 ms
// fall together.
template <class Fill, class Add>
void analyseInParts(KaTessel::Tracker& tracker, std::int64_t partSeconds, Fill fill, Add add) {
    constexpr std::int64_t kMarginSeconds = 1;  // far more than any row hears
    constexpr auto kRows = static_cast<std::size_t>(KaTessel::facts::kFramesPerSecond);
    const auto samplesOf = [&](std::int64_t seconds) { return static_cast<std::size_t>(seconds * tracker.rate()); };
    std::vector<float> samples;
    std::int64_t readFrom = 0;  // [s] where `samples` begins
    for (std::int64_t second = 0;; second += partSeconds) {
        const std::int64_t before = std::min(second, kMarginSeconds);  // [s]
        const std::size_t done = std::min(samplesOf(second - before - readFrom), samples.size());
        samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(done));
        readFrom = second - before;
        fill(samples, samplesOf(before + partSeconds + kMarginSeconds));
        if (samples.size() <= samplesOf(before)) return;
        const KaTessel::PitchTrack rows = tracker.analyse(samples);
        const std::size_t begin = static_cast<std::size_t>(before) * kRows;
        const std::size_t end = std::min(begin + static_cast<std::size_t>(partSeconds) * kRows, rows.size());
        for (std::size_t i = begin; i < end; ++i) {
            KaTessel::Pitch pitch = rows[i];
            pitch.time += static_cast<double>(readFrom);
            add(pitch);
        }
    }
}

}  // namespace katessel
