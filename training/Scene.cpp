#include "Scene.h"

#include <algorithm>
#include <cmath>

#include "Effects.h"
#include "Noises.h"
#include "Voices.h"

namespace {

double decibels(double value) { return std::pow(10.0, value / 20.0); }

// A recording, at its own speed or nearby, slowed down to a low voice, or anywhere.
LabelledSound drawRecording(const Corpus& corpus, int frames, Random& random) {
    const Clip& clip = corpus.draw(random);
    double speed = std::exp(0.12 * random.normal());
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.2 && clip.medianPitch > 0.0f)
        speed = std::clamp(random.logUniform(55.0, 120.0) / clip.medianPitch, 0.4, 1.2);
    else if (kind < 0.42)
        speed = random.logUniform(0.6, 2.2);
    const double length = static_cast<double>(clip.samples.size()), needed = speed * samplesFor(frames);
    const double start = random.uniform(-0.1 * needed, std::max(0.0, length - 0.9 * needed));
    return excerpt(clip, start, speed, frames);
}

LabelledSound drawGenerated(int frames, Random& random) {
    if (random.chance(0.65)) {
        // Men's voices, and those below, are the rarest in recordings.
        const double base = random.chance(0.5) ? random.logUniform(52.0, 130.0) : random.logUniform(80.0, 600.0);
        return drawVoice(base, frames, random);
    }
    return drawInstrument(random.logUniform(50.0, 1100.0), frames, random);
}

LabelledSound drawPitched(const Sources& sources, int frames, Random& random) {
    if (sources.pitched != nullptr && random.chance(0.68)) return drawRecording(*sources.pitched, frames, random);
    return drawGenerated(frames, random);
}

// Noise, recorded at any speed or generated.
Samples drawBackground(const Sources& sources, int frames, Random& random) {
    const int wanted = samplesFor(frames);
    if (sources.noises == nullptr || random.chance(0.35)) return drawNoise(wanted, random);
    const Clip& clip = sources.noises->draw(random);
    const double speed = random.logUniform(0.5, 1.6), needed = speed * wanted;
    const double last = std::max(0.0, static_cast<double>(clip.samples.size()) - needed);
    return excerpt(clip, random.uniform(0.0, last), speed, frames).samples;
}

// Several voices at once, none of which is the one that is heard.
Samples drawBabble(const Sources& sources, int frames, int voices, Random& random) {
    Samples babble(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    for (int v = 0; v < voices; ++v) {
        const LabelledSound voice = drawPitched(sources, frames, random);
        const double loud = voicedLevel(voice);
        if (loud > 0.0) add(babble, voice.samples, decibels(random.uniform(-4.0, 4.0)) / loud);
    }
    return babble;
}

// Several instruments that play together.
Samples drawMusic(int frames, int parts, Random& random) {
    Samples music(static_cast<std::size_t>(samplesFor(frames)), 0.0f);
    for (int p = 0; p < parts; ++p) {
        const LabelledSound part = drawInstrument(random.logUniform(70.0, 900.0), frames, random);
        const double loud = voicedLevel(part);
        if (loud > 0.0) add(music, part.samples, decibels(random.uniform(-6.0, 6.0)) / loud);
    }
    return music;
}

LabelledSound withoutPitch(Samples samples, int frames) {
    return {std::move(samples), std::vector<float>(static_cast<std::size_t>(frames), kUnvoiced)};
}

LabelledSound drawPitchless(const Sources& sources, int frames, Random& random) {
    const double kind = random.uniform(0.0, 1.0);
    if (kind < 0.15) return drawWhisper(frames, random);
    if (kind < 0.28) return withoutPitch(drawBabble(sources, frames, 3 + random.below(4), random), frames);
    if (kind < 0.36) return withoutPitch(drawMusic(frames, 3 + random.below(4), random), frames);
    // White noise has every pitch for a moment.
    if (kind < 0.50) return withoutPitch(drawWhite(samplesFor(frames), random), frames);
    LabelledSound sound = withoutPitch(drawBackground(sources, frames, random), frames);
    if (random.chance(0.3)) {
        const Samples other = drawBackground(sources, frames, random);
        add(sound.samples, other,
            level(sound.samples) / std::max(level(other), 1e-9) * decibels(random.uniform(-20.0, 10.0)));
    }
    return sound;
}

// Noise behind a voice, from nearly nothing up to 5 dB above it, most often where it hurts but does not hide.
void addBackground(LabelledSound& sound, const Sources& sources, Random& random) {
    const int frames = static_cast<int>(sound.pitch.size());
    const double kind = random.uniform(0.0, 1.0);
    const bool pitched = kind < 0.27;
    Samples noise = kind < 0.17   ? drawBabble(sources, frames, 2 + random.below(5), random)
                    : kind < 0.27 ? drawMusic(frames, 2 + random.below(4), random)
                                  : drawBackground(sources, frames, random);
    if (random.chance(0.3)) equalise(noise, random);
    const double own = voicedLevel(sound), theirs = level(noise);
    // Two voices of equal loudness have no one pitch: babble and music stay behind.
    const double ratio = pitched              ? random.uniform(4.0, 25.0)
                         : random.chance(0.6) ? random.uniform(0.0, 18.0)
                                              : random.uniform(-5.0, 35.0);
    if (own > 0.0 && theirs > 0.0) add(sound.samples, noise, own / theirs * decibels(-ratio));
}

void addHum(LabelledSound& sound, Random& random) {
    const Samples hum = drawHum(static_cast<int>(sound.samples.size()), random);
    add(sound.samples, hum, voicedLevel(sound) / level(hum) * decibels(random.uniform(-60.0, -18.0)));
}

// The floor of a recorder, and the level at which it was played.
void finish(LabelledSound& sound, Random& random) {
    const double loud = level(sound.samples);
    if (loud <= 0.0) return;
    scale(sound.samples, decibels(random.uniform(-50.0, 0.0)) * 0.3 / loud);
    if (random.chance(0.6)) {
        const float floor = static_cast<float>(decibels(random.uniform(-110.0, -70.0)));
        for (float& x : sound.samples) x += floor * random.white();
    }
    if (random.chance(0.5))
        for (float& x : sound.samples) x = std::round(x * 32768.0f) / 32768.0f;
}

}  // namespace

LabelledSound drawScene(const Sources& sources, int frames, Random& random) {
    const bool pitched = random.chance(0.82);
    LabelledSound sound = pitched ? drawPitched(sources, frames, random) : drawPitchless(sources, frames, random);
    if (random.chance(0.4)) equalise(sound.samples, random);
    if (pitched && random.chance(0.25)) reverberate(sound, random);
    if (pitched && random.chance(0.8)) addBackground(sound, sources, random);
    if (random.chance(0.08)) addHum(sound, random);
    if (random.chance(0.08)) clip(sound.samples, random);
    if (random.chance(0.1)) telephone(sound.samples, random);
    finish(sound, random);
    return sound;
}
