// Recordings of any length.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "tracking/RecordingTracker.h"

using namespace katessel;

namespace {

// They are analysed in parts of two minutes; the seams do not show.
TEST(RecordingTracker, LongRecordingsAreTrackedAsOne) {
    Recording recording;
    recording.rate = 1001;
    std::minstd_rand random(1);
    std::uniform_real_distribution<float> noise(-0.2f, 0.2f);
    double phase = 0.0;
    for (int i = 0; i < recording.rate * 243 + 401; ++i) {
        phase += 2.0 * std::numbers::pi * (200.0 + 100.0 * std::sin(1e-3 * i)) / recording.rate;
        recording.samples.push_back(static_cast<float>(0.3 * std::sin(phase)) + noise(random));
    }
    const std::string model = modelPath("", TrackMode::offline);
    const PitchTrack track = RecordingTracker(model, TrackMode::offline).track(recording, "long");
    ASSERT_EQ(track.size(), 243u * 200 + 81);
    // The end alone, from before the first seam on.
    constexpr std::size_t kFrom = 115, kMargin = 1;  // [s]
    KaTessel::Tracker tracker(recording.rate, model);
    const std::size_t skipped = (kFrom - kMargin) * static_cast<std::size_t>(recording.rate);
    const KaTessel::PitchTrack end =
        tracker.analyse(recording.samples.data() + skipped, recording.samples.size() - skipped);
    for (std::size_t i = kFrom * 200; i < track.size(); ++i) {
        const KaTessel::Pitch expected = end[i - (kFrom - kMargin) * 200];
        ASSERT_NEAR(track[i].time, static_cast<double>(i) * kHopSeconds, 1e-9);
        ASSERT_NEAR(track[i].frequency, expected.frequency, 1e-3f * expected.frequency) << track[i].time;
        ASSERT_NEAR(track[i].confidence, expected.confidence, 1e-3f) << track[i].time;
    }
}

}  // namespace
