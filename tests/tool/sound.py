"""Writes test sound: sound.py OUT.wav RATE SECONDS KIND [ARGUMENTS], as 32-bit float WAV.

tone F [LEVEL ..]  six harmonics of F Hz; equal parts at these levels, if any are given
glide F G          from F to G Hz and back again, evenly in octaves
silence            zeros
noise LEVEL        white noise up to this level
left F             two channels, the tone in the first
both F G           two channels, a tone in each
melody N:S ..      one after the other, S seconds of note N (MIDI; with decimals; - for silence), repeated if need be
clicks             single samples that are not 0, those nearest to 0.1, 0.201, .. 0.504 s: all places in a 5 ms hop
bad VALUE AT       a tone with one sample of VALUE (nan, inf, 1e30) at AT seconds
"""
import struct
import sys

import numpy as np

HARMONICS = 6


def harmonic_sound(rate, hertz):
    """`hertz`: the frequency of every sample; 0 is silence, across which the phase goes on."""
    moving = np.where(hertz > 0, hertz, 440.0)
    phase = np.cumsum(2 * np.pi * moving / rate)
    audible = np.clip(0.45 * rate // moving, None, HARMONICS)
    sound = sum((h <= audible) * 0.2 / h * np.sin(h * phase) for h in range(1, HARMONICS + 1))
    return np.where(hertz > 0, sound, 0.0)


def click_samples(rate):
    return [round((0.1 + 0.101 * k) * rate) for k in range(5)]


def make(rate, seconds, kind, arguments):
    """The samples, or a row of samples for each channel."""
    count = round(rate * seconds)
    tone = lambda frequency: harmonic_sound(rate, np.full(count, frequency))
    if kind == "melody":
        notes = [a.split(":") for a in arguments]
        parts = [np.full(round(float(s) * rate), 0.0 if n == "-" else 440 * 2 ** ((float(n) - 69) / 12)) for n, s in notes]
        return harmonic_sound(rate, np.resize(np.concatenate(parts), count))
    numbers = [float(a) for a in arguments]
    if kind == "tone":
        levels = numbers[1:] or [1.0]
        return tone(numbers[0]) * np.repeat(levels, -(-count // len(levels)))[:count]
    if kind == "glide":
        start, end = numbers
        way = 1 - np.abs(1 - 2 * np.arange(count) / rate / seconds)
        return harmonic_sound(rate, start * (end / start) ** way)
    if kind == "silence":
        return np.zeros(count)
    if kind == "noise":
        return numbers[0] * np.random.default_rng(1).uniform(-1, 1, count)
    if kind == "clicks":
        samples = np.zeros(count)
        samples[click_samples(rate)] = 0.9
        return samples
    if kind == "left":
        return np.stack([tone(numbers[0]), np.zeros(count)])
    if kind == "both":
        return np.stack([tone(f) for f in numbers])
    if kind == "bad":
        samples = tone(200.0)
        samples[round(numbers[1] * rate)] = numbers[0]
        return samples
    sys.exit("unknown kind of sound: " + kind)


def write_wav(path, rate, samples):
    """44 bytes and the samples: tests cut the header off."""
    samples = np.atleast_2d(samples)
    channels = len(samples)
    data = samples.T.astype("<f4").tobytes()
    form = struct.pack("<HHIIHH", 3, channels, rate, rate * channels * 4, channels * 4, 32)
    chunks = b"WAVEfmt " + struct.pack("<I", len(form)) + form + b"data" + struct.pack("<I", len(data)) + data
    with open(path, "wb") as out:
        out.write(b"RIFF" + struct.pack("<I", len(chunks)) + chunks)


if __name__ == "__main__":
    write_wav(sys.argv[1], int(sys.argv[2]), make(int(sys.argv[2]), float(sys.argv[3]), sys.argv[4], sys.argv[5:]))
