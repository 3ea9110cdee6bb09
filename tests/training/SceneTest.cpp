// The truth that comes with training sound is true: at the labelled pitch, and only there, the sound repeats.
#include "Scene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Effects.h"
#include "Noises.h"
#include "Voices.h"

namespace {

// How far [cents] the best repetition near the labelled period is from it, around the frame's instant.
double centsToBestPeriod(const LabelledSound& sound, std::size_t frame) {
    const double period = kRate / static_cast<double>(sound.pitch[frame]);
    const int span = static_cast<int>(std::lround(period));
    const auto difference = [&](int lag) {  // of two periods, one lag apart, around the instant
        const long first = static_cast<long>(kCentre + frame * kHop) - (span + lag) / 2;
        double sum = 0.0;
        for (long i = first; i < first + span; ++i) {
            const double d = static_cast<double>(sound.samples[static_cast<std::size_t>(i)]) -
                             sound.samples[static_cast<std::size_t>(i + lag)];
            sum += d * d;
        }
        return sum;
    };
    int best = 0;
    double least = 1e300;
    for (int lag = static_cast<int>(period * 0.8); lag <= static_cast<int>(std::ceil(period * 1.25)); ++lag)
        if (const double d = difference(lag); d < least) {
            least = d;
            best = lag;
        }
    const double a = difference(best - 1), b = least, c = difference(best + 1);
    const double exact = best + (a + c > 2.0 * b ? 0.5 * (a - c) / (a + c - 2.0 * b) : 0.0);
    return 1200.0 * std::log2(period / exact);
}

// Over the frames where the truth stands still for as long as the test listens; voices keep moving otherwise.
double medianDistance(const LabelledSound& sound, std::size_t* counted) {
    std::vector<double> distances;
    for (std::size_t f = 10; f + 10 < sound.pitch.size(); ++f) {
        const float hz = sound.pitch[f];
        if (hz > 0.0f && sound.pitch[f - 4] > 0.0f && sound.pitch[f + 4] > 0.0f)
            distances.push_back(std::fabs(centsToBestPeriod(sound, f)));
    }
    *counted += distances.size();
    if (distances.empty()) return 0.0;
    std::nth_element(distances.begin(), distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2),
                     distances.end());
    return distances[distances.size() / 2];
}

// A glide of one octave per second, with harmonics, whose pitch at any instant is known.
Clip glide(double from, double seconds) {
    Clip clip;
    double phase = 0.0;
    for (int i = 0; i < static_cast<int>(seconds * kRate); ++i) {
        phase += 2.0 * M_PI * from * std::exp2(static_cast<double>(i) / kRate) / kRate;
        clip.samples.push_back(
            static_cast<float>(std::sin(phase) + 0.5 * std::sin(2.0 * phase) + 0.3 * std::sin(3.0 * phase)));
    }
    for (int f = 0; f * kHop < static_cast<int>(clip.samples.size()); ++f)
        clip.pitch.push_back(static_cast<float>(from * std::exp2(static_cast<double>(f) * kHop / kRate)));
    return clip;
}

TEST(PlainTrainingSound, VoicesAndInstrumentsRepeatAtTheirPitch) {
    std::size_t counted = 0;
    int astray = 0;
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        Random random(seed);
        const double base = random.logUniform(55.0, 600.0);
        const LabelledSound sound = seed % 2 == 0 ? drawVoice(base, 240, random) : drawInstrument(base, 240, random);
        if (medianDistance(sound, &counted) > 20.0) ++astray;
    }
    EXPECT_GT(counted, 3000u);
    EXPECT_LE(astray, 4) << "of 60 pieces; breath and jitter blur some";
}

TEST(PlainTrainingSound, ExcerptsKeepSoundAndTruthTogetherAtEverySpeed) {
    const Clip clip = glide(110.0, 3.0);
    for (const double speed : {0.5, 0.83, 1.0, 1.4}) {
        const LabelledSound sound = excerpt(clip, 4711.0, speed, 100);
        for (const std::size_t frame : {20u, 50u, 80u}) {
            const double instant = (4711.0 + speed * (kCentre + static_cast<double>(frame) * kHop)) / kRate;
            EXPECT_NEAR(1200.0 * std::log2(sound.pitch[frame] / (speed * 110.0 * std::exp2(instant))), 0.0, 0.5)
                << speed;
            EXPECT_NEAR(centsToBestPeriod(sound, frame), 0.0, 3.0) << "at speed " << speed << ", frame " << frame;
        }
    }
}

TEST(PlainTrainingSound, RoomsMakeTheirTailsUnknownAndLeaveTheVoiceVoiced) {
    Clip clip = glide(200.0, 0.5);  // and then a second of silence
    clip.samples.resize(static_cast<std::size_t>(1.5 * kRate), 0.0f);
    clip.pitch.resize(300, kUnvoiced);
    int unknown = 0;
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        Random random(seed);
        LabelledSound sound = excerpt(clip, 0.0, 1.0, 240);
        const std::vector<float> before = sound.pitch;
        reverberate(sound, random);
        for (std::size_t f = 0; f < 240; ++f) {
            if (sound.pitch[f] != before[f]) {
                EXPECT_EQ(sound.pitch[f], kUnknown);
            }
            if (before[f] == kUnvoiced && sound.pitch[f] == kUnknown) ++unknown;
        }
        EXPECT_GT(std::count_if(sound.pitch.begin(), sound.pitch.begin() + 80, [](float hz) { return hz > 0.0f; }), 40);
    }
    EXPECT_GT(unknown, 200);
}

TEST(PlainTrainingSound, ScenesAreFiniteAndTheSameForTheSameSeed) {
    int voiced = 0, silent = 0;
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        Random first(seed), second(seed);
        const LabelledSound a = drawScene({}, 60, first), b = drawScene({}, 60, second);
        ASSERT_EQ(a.samples, b.samples);
        ASSERT_EQ(a.pitch, b.pitch);
        ASSERT_EQ(a.samples.size(), static_cast<std::size_t>(samplesFor(60)));
        for (const float x : a.samples) ASSERT_TRUE(std::isfinite(x) && std::fabs(x) < 100.0f) << "seed " << seed;
        for (const float hz : a.pitch) {
            ASSERT_TRUE(hz == kUnvoiced || hz == kUnknown || (hz > 45.0f && hz < 1300.0f)) << hz;
            voiced += hz > 0.0f;
            silent += hz == kUnvoiced;
        }
    }
    EXPECT_GT(voiced, 1500);
    EXPECT_GT(silent, 1500);
}

}  // namespace
