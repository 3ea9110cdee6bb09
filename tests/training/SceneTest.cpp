// What is put around a voice: rooms, noise at the levels that were drawn, and whole scenes.
#include "Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "Contour.h"
#include "Levels.h"
#include "Rooms.h"

namespace katessel::training {
namespace {

double energy(Samples::const_iterator begin, Samples::const_iterator end) {
    return std::inner_product(begin, end, begin, 0.0);
}

TEST(PlainScenes, RoomsLeaveTheDirectSoundAtItsPlace) {
    constexpr std::ptrdiff_t kEarly = 3000, kLate = 20000, kSize = 24000;
    double driest = -100.0, wettest = 100.0;  // [dB] direct sound against the rest
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        Random random(seed);
        Samples pulses(kSize, 0.0f);
        pulses[kEarly] = 1.0f;
        reverberate(pulses, random);
        ASSERT_EQ(pulses.size(), static_cast<std::size_t>(kSize));
        EXPECT_LT(energy(pulses.begin(), pulses.begin() + kEarly), 1e-6) << "seed " << seed;
        EXPECT_NEAR(pulses[kEarly], 1.0f, 0.5f) << "seed " << seed;
        const double ratio = -10.0 * std::log10(energy(pulses.begin() + kEarly + 1, pulses.end()));
        driest = std::max(driest, ratio);
        wettest = std::min(wettest, ratio);
        // What the room still answers when the sound has ended is not heard at its beginning.
        Samples last(kSize, 0.0f);
        last[kLate] = 1.0f;
        reverberate(last, random);
        EXPECT_LT(energy(last.begin(), last.begin() + kLate), 1e-6) << "seed " << seed;
    }
    EXPECT_GT(driest, 9.0);
    EXPECT_LT(driest, 14.0);
    EXPECT_LT(wettest, -4.0);
    EXPECT_GT(wettest, -8.0);
}

// The voice sounds a quarter of the time, as in a recording with pauses: the ratio is that of its voiced frames.
TEST(PlainScenes, BackgroundsAreAsLoudAsDrawn) {
    constexpr int kFrames = 160, kDraws = 200;
    LabelledSound voice = {Samples(static_cast<std::size_t>(samplesFor(kFrames)), 0.0f),
                           std::vector<float>(kFrames, kUnvoiced)};
    for (std::size_t f = 60; f < 100; ++f) {
        voice.pitch[f] = 200.0f;
        for (std::size_t i = kCentre + f * kHop - kHop / 2; i < kCentre + f * kHop + kHop / 2; ++i)
            voice.samples[i] = static_cast<float>(0.2 * std::sin(2.0 * M_PI * 200.0 * static_cast<double>(i) / kRate));
    }
    std::vector<double> ratios;  // [dB]
    for (std::uint64_t seed = 1; seed <= kDraws; ++seed) {
        Random random(seed);
        LabelledSound mixed = voice;
        addBackground(mixed, {}, random);
        EXPECT_EQ(mixed.pitch, voice.pitch);
        add(mixed.samples, voice.samples, -1.0);
        ratios.push_back(20.0 * std::log10(0.2 * std::sqrt(0.5) / level(mixed.samples)));
    }
    const auto share = [&](double low, double high) {
        const auto within = [&](double r) { return r >= low && r < high; };
        return static_cast<double>(std::count_if(ratios.begin(), ratios.end(), within)) / kDraws;
    };
    EXPECT_EQ(share(-8.1, 46.1), 1.0);
    EXPECT_NEAR(share(-8.1, 5.0), 0.36, 0.08) << "two of five, less what stays above a single voice";
    EXPECT_GT(share(-8.1, -5.0), 0.03);
}

TEST(PlainScenes, AreFiniteOfTheWholeScaleAndTheSameForTheSameSeed) {
    int voiced = 0, silent = 0;
    float lowest = 1e9f, highest = 0.0f;
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        Random first(seed), second(seed);
        const LabelledSound a = drawScene({}, 60, first), b = drawScene({}, 60, second);
        ASSERT_EQ(a.samples, b.samples);
        ASSERT_EQ(a.pitch, b.pitch);
        ASSERT_EQ(a.samples.size(), static_cast<std::size_t>(samplesFor(60)));
        for (const float x : a.samples) ASSERT_TRUE(std::isfinite(x) && std::fabs(x) < 100.0f) << "seed " << seed;
        for (const float hz : a.pitch) {
            voiced += hz > 0.0f;
            silent += hz == kUnvoiced;
            if (hz <= 0.0f) {
                ASSERT_TRUE(hz == kUnvoiced || hz == kUnknown) << hz;
                continue;
            }
            lowest = std::min(lowest, hz);
            highest = std::max(highest, hz);
        }
    }
    EXPECT_GT(voiced, 2000);
    EXPECT_GT(silent, 1300);
    EXPECT_GE(lowest, kLowestPitch);
    EXPECT_LT(lowest, 45.0f);
    EXPECT_LE(highest, kHighestPitch);
    EXPECT_GT(highest, 1800.0f);
}

}  // namespace
}  // namespace katessel::training
