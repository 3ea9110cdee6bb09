#include "Mixture.h"

#include <algorithm>
#include <cmath>

#include "Levels.h"
#include "Machines.h"
#include "Microphones.h"
#include "Music.h"
#include "Noises.h"
#include "Rooms.h"
#include "Voices.h"

namespace katessel::training {

namespace {

Samples drawRecorded(const Corpus& corpus, int frames, double lowest, double highest, Random& random) {
    const Clip& clip = corpus.draw(random);
    const double speed = random.logUniform(lowest, highest), needed = speed * samplesFor(frames);
    const double last = std::max(0.0, static_cast<double>(clip.samples.size()) - needed);
    return roughExcerpt(clip, random.uniform(0.0, last), speed, samplesFor(frames));
}

// Noise, recorded and generated in turn; now and then two at once.
Samples drawBackground(const Sources& sources, int frames, Random& random) {
    const int wanted = samplesFor(frames);
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.06) return drawEngine(wanted, random);
    if (kind < 0.12) return drawWhine(wanted, random);
    if (sources.noises == nullptr || kind < 0.5) return drawNoise(wanted, random);
    Samples noise = drawRecorded(*sources.noises, frames, 0.6, 1.6, random);
    if (random.chance(0.25)) {
        const Samples other =
            random.chance(0.5) ? drawNoise(wanted, random) : drawRecorded(*sources.noises, frames, 0.6, 1.6, random);
        addAtLevel(noise, other, level(noise), decibels(random.uniform(-12.0, 6.0)));
    }
    return noise;
}

// Several talkers at once, none of whom is the one that is heard.
Samples drawBabble(const Sources& sources, int frames, int talkers, Random& random) {
    Samples babble(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    for (int t = 0; t < talkers; ++t) {
        const Corpus* corpus = sources.voices != nullptr && random.chance(0.6) ? sources.voices : sources.pitched;
        const Samples talker = corpus != nullptr ? drawRecorded(*corpus, frames, 0.85, 1.2, random)
                                                 : drawVoice(random.logUniform(80.0, 300.0), frames, random).samples;
        addAtLevel(babble, talker, 1.0, decibels(random.uniform(-5.0, 5.0)));
    }
    if (random.chance(0.3)) reverberate(babble, random);
    return babble;
}

LabelledSound withoutPitch(Samples samples, int frames) {
    return {std::move(samples), std::vector<float>(static_cast<std::size_t>(frames), kUnvoiced)};
}

// From -8 to 5 dB in two of five cases. `least`: how far above the other sound the voice stays at any rate.
double drawRatio(double least, Random& random) {
    const double kind = random.uniform(0.0, 1.0);
    const double ratio = kind < 0.42   ? random.uniform(-8.0, 5.0)
                         : kind < 0.75 ? random.uniform(5.0, 18.0)
                                       : random.uniform(18.0, 40.0);
    return ratio >= least ? ratio : random.uniform(least, least + 12.0);
}

}  // namespace

LabelledSound drawPitchless(const Sources& sources, int frames, Random& random) {
    const int wanted = samplesFor(frames);
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.10) return drawWhisper(frames, random);
    if (kind < 0.20) return withoutPitch(drawBabble(sources, frames, 5 + random.below(16), random), frames);
    if (kind < 0.28) return withoutPitch(drawMusic(frames, 3 + random.below(4), random), frames);
    if (kind < 0.31) return withoutPitch(drawDrums(wanted, random), frames);
    if (kind < 0.34) return withoutPitch(drawHum(wanted, random), frames);
    // White noise has every pitch for a moment.
    if (kind < 0.44) return withoutPitch(drawWhite(wanted, random), frames);
    if (kind < 0.47) return withoutPitch(drawFloor(wanted, random), frames);
    return withoutPitch(drawBackground(sources, frames, random), frames);
}

void addBackground(LabelledSound& sound, const Sources& sources, Random& random) {
    const int frames = static_cast<int>(sound.pitch.size());
    const double own = voicedLevel(sound), kind = random.uniform(0.0, 1.0);
    Samples noise;
    double ratio = 0.0;
    // Two voices of equal loudness have no one pitch, but of a crowd nobody stands out.
    if (kind < 0.08) {
        noise = drawBabble(sources, frames, 1 + random.below(5), random);
        ratio = drawRatio(5.0, random);
    } else if (kind < 0.22) {
        noise = drawBabble(sources, frames, 6 + random.below(15), random);
        ratio = drawRatio(-2.0, random);
    } else if (kind < 0.34) {
        noise = drawMusic(frames, 2 + random.below(4), random);
        ratio = drawRatio(4.0, random);
    } else if (kind < 0.37) {
        noise = drawDrums(samplesFor(frames), random);
        ratio = drawRatio(-6.0, random);
    } else if (kind < 0.42) {
        noise = drawHum(samplesFor(frames), random);
        ratio = drawRatio(-6.0, random) + 6.0;
    } else {
        noise = drawBackground(sources, frames, random);
        ratio = drawRatio(-8.0, random);
    }
    if (random.chance(0.3)) equalise(noise, random);
    addAtLevel(sound.samples, noise, own, decibels(-ratio));
}

}  // namespace katessel::training
