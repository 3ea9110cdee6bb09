#!/usr/bin/python3
"""Finds places where the given pitch cannot be true: the sound repeats itself where none is said, or otherwise than said.

    check_truth.py FOLDER [--strong 0.9] [--plant SEED]

FOLDER holds recordings with .f0 files beside them. Prints lines of CLIP START END WHAT HEARD SAID, times in seconds, medians in
Hz, which conditions.py takes as --unscored. WHAT is "unsaid" (no pitch is said), "other" (another pitch is said) or "overtone"
(what is heard is an overtone of what is said). A wind that whistles is taken for a tone from --strong 0.75 on, hum too. --plant
first puts wrong places of 120 ms into the truth and prints how many of each kind are found. Needs python3-numpy, python3-scipy
and python3-soundfile.
"""
import argparse
import pathlib

import numpy as np
from scipy import signal

from recordings import HOP, RATE, find, read, read_truth

BAND = (45, 1500)        # [Hz] what is compared
LAGS = np.arange(601)    # [samples] up to a period of 40 Hz
SHORTEST = 16            # [samples] of a period: 1500 Hz
WINDOW = 720             # [samples] that are compared with their like one period later
STRONG, WEAK = 0.9, 0.5  # likeness: surely a period, where --strong is not given; surely none
EQUAL = 0.02             # of likeness: two lags are as good as each other
QUIET = 35               # [dB] below the loudest tenth of a second nothing is judged
LASTING = 12             # [frames] of the shortest place
KINDS = ("unsaid", "other", "overtone")
PLANTED = 24             # [frames]


def likeness(samples, frames):
    """Normalised correlation of each frame with itself LAGS later, around the frame's instant; frames x lags."""
    padded = np.concatenate([np.zeros(WINDOW + LAGS[-1]), samples, np.zeros(WINDOW + 2 * LAGS[-1] + HOP * frames)])
    energy = np.concatenate([[0.0], np.cumsum(padded**2)])
    starts = WINDOW + LAGS[-1] + np.arange(frames) * HOP - WINDOW // 2 - LAGS[-1] // 4
    result, length = np.zeros((frames, len(LAGS))), 2048
    for at in range(0, frames, 1000):
        start = starts[at : at + 1000, None]
        segment = padded[start + np.arange(WINDOW + LAGS[-1])]
        spectrum = np.conj(np.fft.rfft(segment[:, :WINDOW], length)) * np.fft.rfft(segment, length)
        own, later = energy[start + WINDOW] - energy[start], energy[start + LAGS + WINDOW] - energy[start + LAGS]
        result[at : at + 1000] = np.fft.irfft(spectrum, length)[:, : len(LAGS)] / np.sqrt(own * later + 1e-9)
    return result


def analyse(samples, frames, strong):
    """Of each frame: its likeness by lag, the shortest lag as good as the best, 0 where nothing repeats, and whether it is loud."""
    band = signal.butter(2, BAND, "bandpass", fs=RATE, output="sos")
    alike = likeness(signal.sosfiltfilt(band, samples), frames)
    tops = np.zeros(alike.shape, bool)
    tops[:, 1:-1] = (alike[:, 1:-1] >= alike[:, :-2]) & (alike[:, 1:-1] > alike[:, 2:])
    tops[:, :SHORTEST] = False
    heights = np.where(tops, alike, -1.0)
    best = heights.max(axis=1, keepdims=True)
    period = np.where(best[:, 0] >= strong, np.argmax(heights >= best - 2 * EQUAL, axis=1), 0)
    power = np.convolve(samples**2, np.ones(RATE // 40) / (RATE // 40), "same")[::HOP]
    power = np.pad(power, (0, max(0, frames - len(power))))[:frames]
    return alike, period, power > power.max() * 10 ** (-QUIET / 10)


def near(alike, lag):
    """The best likeness within 3 % of each frame's lag."""
    lags = np.clip(np.round(lag[:, None] * np.linspace(0.97, 1.03, 13)).astype(int), 1, LAGS[-1])
    return np.take_along_axis(alike, lags, axis=1).max(axis=1)


def places(alike, period, loud, pitch):
    """(kind, first frame, frame after the last) of each place."""
    said = np.where(pitch > 0, RATE / np.maximum(pitch, 1.0), 1.0)
    judged = loud & (period > 0) & (pitch >= 0)
    as_said = near(alike, said)
    wrong = {"unsaid": judged & (pitch == 0), "other": judged & (pitch > 40) & (as_said < WEAK)}
    ratio = said / np.maximum(period, 1)
    parts = np.maximum(np.round(ratio), 1)
    wrong["overtone"] = (judged & (pitch > 40) & (parts >= 2) & (np.abs(ratio / parts - 1) < 0.03)
                         & (near(alike, said / parts) > as_said - EQUAL))
    for kind in KINDS:
        edges = np.flatnonzero(np.diff(np.concatenate([[0], wrong[kind].astype(int), [0]])))
        yield from ((kind, first, after) for first, after in zip(edges[::2], edges[1::2]) if after - first >= LASTING)


def plant(pitch, period, loud, generator):
    """A wrong place of each kind where the truth is right: [(kind, first frame)] and the pitch with them."""
    sure = loud & (period > 0) & (pitch > 80) & (pitch < 700) & (np.abs(period * pitch / RATE - 1) < 0.03)
    planted, wrong = [], pitch.copy()
    starts = [i for i in range(len(pitch) - PLANTED) if sure[i : i + PLANTED].all()]
    for kind, factor in zip(KINDS, (0.0, 1.4, 0.5)):
        free = [i for i in starts if all(abs(i - other) > 2 * PLANTED for _, other in planted)]
        if free:
            first = int(generator.choice(free))
            wrong[first : first + PLANTED] *= factor
            planted.append((kind, first))
    return planted, wrong


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--strong", type=float, default=STRONG, help="likeness of a waveform and its next period, 0 to 1")
    parser.add_argument("--plant", type=int, metavar="SEED")
    chosen = parser.parse_args()
    found, planted = {kind: 0 for kind in KINDS}, {kind: 0 for kind in KINDS}
    generator = np.random.default_rng(chosen.plant)
    for clip in find(chosen.folder, truth=True):
        samples, pitch = read(clip), read_truth(clip.with_suffix(".f0"))
        alike, period, loud = analyse(samples, len(pitch), chosen.strong)
        if chosen.plant is not None:
            before = set(places(alike, period, loud, pitch))
            wrong, pitch = plant(pitch, period, loud, generator)
            after = set(places(alike, period, loud, pitch)) - before
            for kind, first in wrong:
                planted[kind] += 1
                found[kind] += any(k == kind and a < first + PLANTED and first < b for k, a, b in after)
            continue
        name = "_".join(clip.relative_to(chosen.folder).with_suffix("").parts)
        for kind, first, after in places(alike, period, loud, pitch):
            heard, said = RATE / np.median(period[first:after]), np.median(pitch[first:after])
            print(f"{name} {first * HOP / RATE:.3f} {(after - 1) * HOP / RATE:.3f} {kind} {heard:.0f} {said:.0f}")
    if chosen.plant is not None:
        print(", ".join(f"{kind}: {found[kind]} of {planted[kind]} found" for kind in KINDS))


if __name__ == "__main__":
    main()
