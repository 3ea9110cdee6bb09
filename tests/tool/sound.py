"""Writes test sound: sound.py OUT.wav RATE SECONDS KIND [ARGUMENTS], as 32-bit float WAV.

tone F             six harmonics of F Hz
glide F G          from F to G Hz and back again, evenly in octaves
silence            zeros
half F             the tone at half its level
left F             two channels, the tone in the first
both F G           two channels, a tone in each
melody N:S ..      one after the other, S seconds of note N (MIDI; with decimals; - for silence), repeated if need be
clicks             single samples that are not 0, those nearest to 0.1, 0.201, .. 0.504 s: all places in a 5 ms hop
bad VALUE AT       a tone with one sample of VALUE (nan, inf, 1e30) at AT seconds
"""
import math
import struct
import sys

HARMONICS = 6


def harmonic_sound(rate, count, frequency_at):
    phase = 0.0
    for i in range(count):
        frequency = frequency_at(i / rate)
        phase += 2 * math.pi * frequency / rate
        audible = min(HARMONICS, int(0.45 * rate / frequency))
        yield sum(0.2 / h * math.sin(h * phase) for h in range(1, audible + 1))


def click_samples(rate):
    return [round((0.1 + 0.101 * k) * rate) for k in range(5)]


def melody(rate, count, notes):
    """Without a jump in phase between two notes, which would be a click."""
    hertz = []
    while len(hertz) < count:
        for note, seconds in notes:
            hertz += [0.0 if note == "-" else 440 * 2 ** ((float(note) - 69) / 12)] * round(float(seconds) * rate)
    sound = harmonic_sound(rate, count, lambda t: hertz[round(t * rate)] or 440.0)
    return [s if f else 0.0 for s, f in zip(sound, hertz)]


def make(rate, seconds, kind, arguments):
    """Returns the samples of all channels in turn, and the number of channels."""
    count = round(rate * seconds)
    if kind == "melody":
        return melody(rate, count, [a.split(":") for a in arguments]), 1
    numbers = [float(a) for a in arguments]
    if kind == "tone":
        return list(harmonic_sound(rate, count, lambda t: numbers[0])), 1
    if kind == "glide":
        start, end = numbers
        way = lambda t: 1 - abs(1 - 2 * t / seconds)
        return list(harmonic_sound(rate, count, lambda t: start * (end / start) ** way(t))), 1
    if kind == "silence":
        return [0.0] * count, 1
    if kind == "half":
        return [0.5 * s for s in harmonic_sound(rate, count, lambda t: numbers[0])], 1
    if kind == "clicks":
        samples = [0.0] * count
        for i in click_samples(rate):
            samples[i] = 0.9
        return samples, 1
    if kind == "left":
        return [x for s in harmonic_sound(rate, count, lambda t: numbers[0]) for x in (s, 0.0)], 2
    if kind == "both":
        both = zip(*(harmonic_sound(rate, count, lambda t, f=f: f) for f in numbers))
        return [x for pair in both for x in pair], 2
    if kind == "bad":
        value, at = numbers
        samples = list(harmonic_sound(rate, count, lambda t: 200.0))
        samples[round(at * rate)] = value
        return samples, 1
    sys.exit("unknown kind of sound: " + kind)


def write_wav(path, rate, channels, samples):
    data = struct.pack("<%df" % len(samples), *samples)
    form = struct.pack("<HHIIHH", 3, channels, rate, rate * channels * 4, channels * 4, 32)
    chunks = b"WAVEfmt " + struct.pack("<I", len(form)) + form + b"data" + struct.pack("<I", len(data)) + data
    with open(path, "wb") as out:
        out.write(b"RIFF" + struct.pack("<I", len(chunks)) + chunks)


if __name__ == "__main__":
    out, rate, seconds, kind = sys.argv[1], int(sys.argv[2]), float(sys.argv[3]), sys.argv[4]
    samples, channels = make(rate, seconds, kind, sys.argv[5:])
    write_wav(out, rate, channels, samples)
