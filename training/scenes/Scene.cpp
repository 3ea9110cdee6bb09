#include "Scene.h"

#include <algorithm>
#include <cmath>

#include "Contour.h"
#include "Levels.h"
#include "Microphones.h"
#include "Noises.h"
#include "Resynthesis.h"
#include "Rooms.h"
#include "StringsAndPipes.h"
#include "Tones.h"
#include "Voices.h"

namespace katessel::training {

namespace {

constexpr double kHighestMedian = 1800.0;  // [Hz] to which a recording is sped up
constexpr float kPlayingLevel = 0.3f;      // of full scale

// A recording, at its own speed or nearby, slowed down to a low voice, or anywhere; some with another melody.
LabelledSound drawRecording(const Corpus& corpus, int frames, Random& random) {
    const Clip& clip = corpus.draw(random);
    double speed = std::exp(0.12 * random.normal());
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.17 && clip.medianPitch > 0.0f)
        speed = std::clamp(random.logUniform(48.0, 120.0) / clip.medianPitch, 0.4, 1.2);
    else if (kind < 0.4)
        speed = random.logUniform(0.6, 2.2);
    if (clip.medianPitch > 0.0f) speed = std::min(speed, std::max(1.0, kHighestMedian / clip.medianPitch));
    const double length = static_cast<double>(clip.samples.size()), needed = speed * samplesFor(frames);
    const double start = random.uniform(-0.1 * needed, std::max(0.0, length - 0.9 * needed));
    LabelledSound sound = excerpt(clip, start, speed, frames);
    return random.chance(0.15) ? withNewMelody(sound, random) : sound;
}

// Around which pitch: mostly that of voices, and the ends of the scale more often than recordings have them.
double drawBase(Random& random) {
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.2) return random.logUniform(40.0, 70.0);
    if (kind < 0.4) return random.logUniform(800.0, kHighestPitch);
    return random.logUniform(60.0, 1000.0);
}

LabelledSound drawGenerated(int frames, Random& random) {
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.38) {
        // Men's voices, and those below, are the rarest in recordings.
        const double base = random.chance(0.5) ? random.logUniform(45.0, 130.0) : random.logUniform(80.0, 700.0);
        return random.chance(0.5) ? drawVoice(base, frames, random) : drawGlottalVoice(base, frames, random);
    }
    const double base = drawBase(random);
    if (kind < 0.74) return drawTone(base, frames, random);
    if (kind < 0.80) return drawModulated(base, frames, random);
    if (kind < 0.90) return drawString(base, frames, random);
    if (kind < 0.94) return drawPipe(base, frames, random);
    return drawInstrument(base, frames, random);
}

LabelledSound drawPitched(const Sources& sources, int frames, Random& random) {
    if (sources.pitched != nullptr && random.chance(0.57)) return drawRecording(*sources.pitched, frames, random);
    return drawGenerated(frames, random);
}

// The floor of a recorder, and the level at which it was played.
void finish(LabelledSound& sound, Random& random) {
    const double loud = level(sound.samples);
    if (loud <= 0.0) return;
    if (random.chance(0.4))
        addAtLevel(sound.samples, drawFloor(static_cast<int>(sound.samples.size()), random), loud,
                   decibels(random.uniform(-65.0, -25.0)));
    scale(sound.samples, decibels(random.uniform(-50.0, 0.0)) * kPlayingLevel / loud);
    if (random.chance(0.5)) {
        const float floor = static_cast<float>(decibels(random.uniform(-110.0, -70.0)));
        for (float& x : sound.samples) x += floor * random.white();
    }
    if (random.chance(0.5))
        for (float& x : sound.samples) x = std::round(x * 32768.0f) / 32768.0f;
}

// Beyond the scale there is nothing to learn.
void boundPitch(std::vector<float>& pitch) {
    for (float& hz : pitch)
        if (hz > 0.0f && (hz < kLowestPitch || hz > kHighestPitch)) hz = kUnknown;
}

}  // namespace

LabelledSound drawScene(const Sources& sources, int frames, Random& random) {
    const bool pitched = random.chance(0.8);
    LabelledSound sound = pitched ? drawPitched(sources, frames, random) : drawPitchless(sources, frames, random);
    boundPitch(sound.pitch);
    if (random.chance(0.35)) equalise(sound.samples, random);
    if (random.chance(pitched ? 0.42 : 0.2)) reverberate(sound.samples, random);
    if (pitched && random.chance(0.72)) addBackground(sound, sources, random);
    record(sound.samples, random);
    finish(sound, random);
    return sound;
}

}  // namespace katessel::training
