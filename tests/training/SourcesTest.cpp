// The truth that comes with every source of sound is true: at the labelled pitch, and no sooner, the sound repeats.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "Corpus.h"
#include "Microphones.h"
#include "Resynthesis.h"
#include "StringsAndPipes.h"
#include "Tones.h"
#include "Voices.h"

namespace katessel::training {
namespace {

// How a sound repeats around the instant of a frame, compared over two periods.
struct Repetition {
    double cents;   // from the labelled period to the best one nearby
    double sooner;  // difference from itself half, a third .. a fifth of a period later: 0, the same; 1, unrelated
    bool silent;
};

Repetition repetition(const LabelledSound& sound, std::size_t frame) {
    const double period = kRate / static_cast<double>(sound.pitch[frame]);
    const int span = std::max(static_cast<int>(std::lround(period)), kHop);
    double energy = 0.0;
    const auto difference = [&](int lag) {  // of `span` samples, one lag apart, around the instant
        const long first = static_cast<long>(kCentre + frame * kHop) - (span + lag) / 2;
        double sum = 0.0;
        energy = 0.0;
        for (long i = first; i < first + span; ++i) {
            const double x = sound.samples[static_cast<std::size_t>(i)],
                         y = sound.samples[static_cast<std::size_t>(i + lag)];
            sum += (x - y) * (x - y);
            energy += x * x + y * y;
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
    Repetition found = {1200.0 * std::log2(period / exact), 1.0, energy < 1e-12};
    for (int part = 2; part <= 5; ++part) {
        // Between the samples the difference is up to half a sample's turn greater; short periods are left out.
        if (period / part < 12.0) continue;
        const double d = difference(static_cast<int>(std::lround(period / part)));
        found.sooner = std::min(found.sooner, d / std::max(energy, 1e-12));
    }
    return found;
}

// Shares of the voiced frames, away from where voicing begins and ends: those that repeat more than 20 cents from the
// label, and those that repeat sooner or are silent.
struct Faults {
    std::size_t counted = 0;
    double astray = 0.0, mistaken = 0.0;
};
Faults faultsOf(const LabelledSound& sound) {
    Faults faults;
    for (std::size_t f = 10; f + 10 < sound.pitch.size(); ++f) {
        if (!(sound.pitch[f] > 0.0f && sound.pitch[f - 4] > 0.0f && sound.pitch[f + 4] > 0.0f)) continue;
        const Repetition found = repetition(sound, f);
        ++faults.counted;
        faults.astray += std::fabs(found.cents) > 20.0;
        faults.mistaken += found.silent || found.sooner < 0.003;
    }
    return faults;
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

LabelledSound drawGlideWithNewMelody(double base, int frames, Random& random) {
    return withNewMelody(excerpt(glide(base, 0.5), 0.0, 0.3, frames), random);
}

TEST(PlainTrainingSound, EverySourceRepeatsAtItsPitchAndNoSooner) {
    struct Row {
        const char* name;
        LabelledSound (*draw)(double base, int frames, Random& random);
        double highest;           // [Hz] base; above, the comparison by whole samples is too coarse for cents
        double astray, mistaken;  // shares of the frames that may be
    };
    const Row rows[] = {
        {"voice", drawVoice, 600.0, 0.15, 0.01},  // moves within two periods, breathes, trembles
        {"glottis", drawGlottalVoice, 600.0, 0.25, 0.01},
        {"instrument", drawInstrument, 600.0, 0.1, 0.05},
        {"tone", drawTone, 1500.0, 0.1, 0.01},
        {"modulated", drawModulated, 600.0, 0.1, 0.01},
        {"string", drawString, 600.0, 0.1, 0.01},  // stiff ones repeat a little sooner
        {"pipe", drawPipe, 600.0, 0.2, 0.05},
        {"new melody", drawGlideWithNewMelody, 400.0, 0.1, 0.01},
    };
    for (const Row& row : rows) {
        Faults all;
        for (std::uint64_t seed = 1; seed <= 40; ++seed) {
            Random random(seed);
            const Faults faults = faultsOf(row.draw(random.logUniform(50.0, row.highest), 240, random));
            all.counted += faults.counted;
            all.astray += faults.astray;
            all.mistaken += faults.mistaken;
        }
        const double count = static_cast<double>(all.counted);
        EXPECT_GT(all.counted, 1500u) << row.name;
        EXPECT_LT(all.astray / count, row.astray) << row.name;
        EXPECT_LT(all.mistaken / count, row.mistaken) << row.name;
    }
}

// The pitch runs an octave a second: what comes 5 ms late is 6 cents off.
TEST(PlainTrainingSound, ExcerptsAndRecordersKeepSoundAndTruthTogether) {
    const Clip clip = glide(110.0, 3.0);
    for (const double speed : {0.5, 0.83, 1.0, 1.4}) {
        const LabelledSound sound = excerpt(clip, 4711.0, speed, 100);
        for (const std::size_t frame : {20u, 50u, 80u}) {
            const double instant = (4711.0 + speed * (kCentre + static_cast<double>(frame) * kHop)) / kRate;
            EXPECT_NEAR(1200.0 * std::log2(sound.pitch[frame] / (speed * 110.0 * std::exp2(instant))), 0.0, 0.5)
                << speed;
            EXPECT_NEAR(repetition(sound, frame).cents, 0.0, 3.0) << "at speed " << speed << ", frame " << frame;
        }
    }
    using Effect = void (*)(Samples&, Random&);
    const std::pair<const char*, Effect> effects[] = {{"equaliser", equalise},
                                                      {"telephone", telephone},
                                                      {"clipping", training::clip},
                                                      {"compressor", compress},
                                                      {"codec", code}};
    for (const auto& [name, effect] : effects) {
        double sum = 0.0;
        int counted = 0;
        for (std::uint64_t seed = 1; seed <= 10; ++seed) {
            Random random(seed);
            LabelledSound sound = excerpt(clip, 4711.0, 1.0, 100);
            effect(sound.samples, random);
            for (std::size_t frame = 15; frame < 85; frame += 7, ++counted) sum += repetition(sound, frame).cents;
        }
        EXPECT_NEAR(sum / counted, 0.0, 4.0) << name << "; the steps of the codec scatter";
    }
}

}  // namespace
}  // namespace katessel::training
