#!/usr/bin/python3
"""How our tool hears generated tones: sines, missing harmonics, odd series, pulses, saw and square from 40 to 2000 Hz.

    tones.py [--model A.weights] [--steps 6] [--out out/tones] [--tool build/release/apps/katessel]

Every tone lasts 0.8 s and is scored on its middle 0.6 s, at peaks of -40, -27, -13 and 0 dBFS, offline and live. "right" is the
share of frames that are called voiced and lie within 50 cents; cents are the tone's median distance, whatever the voicing.
Writes tones.csv (a row per tone), tones.md and tones.png. Needs gnuplot-nox, python3-numpy, python3-scipy and
python3-soundfile.
"""
import argparse
import concurrent.futures
import csv
import pathlib
import shutil
import tempfile

import numpy as np

import plots
import trackers
from recordings import RATE, write
from scoring import cell, markdown

WORST = 2400  # [cents] and beyond
LEVELS = (-40, -27, -13, 0)  # [dBFS] of the peak
HIGHEST = 11000              # [Hz] harmonics above are left out, as a converter would
TONE, SILENCE, FADE, EDGE = 0.8, 0.2, 0.02, 0.1  # [s]


def pulse(width):
    return lambda h: np.sin(np.pi * h * width) / h


def equal(first, step=1):
    """Harmonics of one level from the first on, every step-th, at most ten."""
    return lambda h: ((h >= first) & ((h - first) % step == 0) & (h < first + 10 * step)).astype(float)


# The level of each harmonic h (1, 2, ..); those of the equal series have seeded phases, the others none.
WAVES = {
    "sine": equal(1, 10**6), "no 1st": equal(2), "no 1st, 2nd": equal(3), "no 1st to 3rd": equal(4), "odd, equal": equal(1, 2),
    "pulse 5 %": pulse(0.05), "pulse 10 %": pulse(0.1), "pulse 25 %": pulse(0.25),
    "saw": lambda h: (-1.0) ** h / h, "square": lambda h: h % 2 / h,
}
REACH = (40, 2000)  # [Hz]
RANGES = ((40, 55), (55, 80), (80, 800), (800, 1100), (1100, 2001))  # [Hz]


def tone(wave, f0):
    """None where fewer than three harmonics are left of a series."""
    h = np.arange(1, int(HIGHEST / f0) + 1)
    levels = WAVES[wave](h)
    h, levels = h[levels != 0], levels[levels != 0]
    if len(h) < (1 if wave == "sine" else 3):
        return None
    seeded = np.random.default_rng(1).uniform(0, 2 * np.pi, len(h))
    phases = seeded if wave.startswith("no ") or wave.startswith("odd") else 0.0 * seeded
    time = np.arange(int(TONE * RATE)) / RATE
    samples = sum(level * np.sin(2 * np.pi * number * f0 * time + phase) for number, level, phase in zip(h, levels, phases))
    ramp = np.minimum(1.0, np.minimum(time, time[::-1]) / FADE)
    return samples / np.abs(samples).max() * ramp


def measure(tool, mode, model, wave, level, pitches, folder):
    """Rows of tones.csv of a wave at a level: all its pitches in one recording, with silence between."""
    silence, tones, heard = np.zeros(int(SILENCE * RATE)), [], []
    for f0 in pitches:
        samples = tone(wave, f0)
        if samples is not None:
            tones += [samples, silence]
            heard.append(f0)
    sound = folder / f"{wave} {level}.wav".replace(" ", "_").replace("%", "")
    write(sound, np.concatenate([silence, *tones]) * 10 ** (level / 20), "FLOAT")
    tracker = trackers.ours(tool, mode, model)
    decided, raw = np.array(tracker.track(sound, None)), np.array(tracker.track(sound, 0.0))
    rows = []
    for i, f0 in enumerate(heard):
        start = SILENCE + i * (TONE + SILENCE) + EDGE
        frames = (raw[:, 0] >= start) & (raw[:, 0] <= start + TONE - 2 * EDGE)
        cents = np.clip(1200 * np.log2(np.maximum(raw[frames, 1], 1e-3) / f0), -WORST, WORST)
        near = np.abs(cents) <= 50
        rows.append({"mode": mode, "wave": wave, "f0": round(f0, 2), "dBFS": level, "cents": round(float(np.median(cents)), 2),
                     "within_50": round(float(near.mean()), 4),
                     "right": round(float((near & (decided[frames, 1] > 0)).mean()), 4),
                     "confidence": round(float(raw[frames, 2].mean()), 4)})
    return rows


def summary(rows):
    """Right frames by range, and the worst and median cents and the confidence from 55 to 1000 Hz, a line a wave and mode."""
    lines = []
    for wave in WAVES:
        for mode in ("offline", "live"):
            of_wave = [row for row in rows if row["wave"] == wave and row["mode"] == mode]
            shares = [[row["right"] for row in of_wave if low <= row["f0"] < high] for low, high in RANGES]
            middle = [row for row in of_wave if 55 <= row["f0"] <= 1001]
            distances = [abs(row["cents"]) for row in middle]
            lines.append([f"{wave}, {mode}", *(cell(100 * np.mean(share), 0) if share else "" for share in shares),
                          cell(np.median(distances), 1), cell(max(distances), 0),
                          cell(np.mean([row["confidence"] for row in middle]), 2)])
    header = ["right frames [%]", *(f"{low} to {high // 5 * 5} Hz" for low, high in RANGES), "55 to 1000 Hz: cents", "worst",
              "confidence"]
    return markdown(header, lines)


def sines(rows):
    """Cents of sines by pitch, offline / live, for each level."""
    cents = {(row["mode"], row["f0"], row["dBFS"]): row["cents"] for row in rows if row["wave"] == "sine"}
    pitches = sorted({f0 for _, f0, _ in cents})
    return markdown(["sine [Hz]", *(f"{level} dBFS" for level in LEVELS)], [
        [cell(f0, 0), *(f"{cents['offline', f0, level]:+.0f} / {cents['live', f0, level]:+.0f}" for level in LEVELS)]
        for f0 in pitches])


def picture(rows, out):
    """Right frames of each wave and pitch, the mean of the levels and modes, and the sines' cents offline."""
    pitches = sorted({row["f0"] for row in rows})
    shares = {(wave, f0): [row["right"] for row in rows if (row["wave"], row["f0"]) == (wave, f0)]
              for wave in WAVES for f0 in pitches}
    (out / "right.csv").write_text("".join(
        f"{x},{y},{100 * np.mean(shares[wave, f0]) if shares[wave, f0] else 'NaN'}\n"
        for y, wave in enumerate(WAVES) for x, f0 in enumerate(pitches)))
    sine = {(row["f0"], row["dBFS"]): row["cents"] for row in rows if row["wave"] == "sine" and row["mode"] == "offline"}
    (out / "sines.csv").write_text("".join(
        f"{x},{','.join(str(sine[f0, level]) for level in LEVELS)}\n" for x, f0 in enumerate(pitches)))
    every = range(0, len(pitches), max(1, len(pitches) // 11))
    xtics, ytics = (", ".join(f'"{name}" {at}' for at, name in ticks) for ticks in (
        [(x, f"{pitches[x]:.0f}") for x in every],
        [(y, wave.replace("%", "%%")) for y, wave in enumerate(WAVES)]))
    curves = ", ".join(f'"{out}/sines.csv" using 1:{2 + i} with linespoints title "{level} dBFS"' for i, level in enumerate(LEVELS))
    plots.plot(out / "tones.png", f"""set multiplot layout 2,1
set lmargin at screen 0.12
set rmargin at screen 0.82
set xtics ({xtics})
set xrange [-0.5:{len(pitches) - 0.5}]
set ytics ({ytics})
set yrange [{len(WAVES) - 0.5}:-0.5]
set cbrange [0:100]
set cblabel "right frames [%]"
set palette defined (0 "#8c2d04", 50 "#fdd0a2", 100 "#2b8cbe")
unset key
plot "{out}/right.csv" using 1:2:3 with image
set ytics auto
set ylabel "sines: cents too high"
set xlabel "pitch [Hz]"
set yrange [-100:100]
set key top right
plot {curves}
""", 1000, 800)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--model", help="weight file (default: the tool's own)")
    parser.add_argument("--steps", type=int, default=6, help="pitches an octave")
    parser.add_argument("-j", "--jobs", type=int, default=2)
    parser.add_argument("--tool", default="build/release/apps/katessel")
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path("out/tones"))
    chosen = parser.parse_args()
    chosen.out.mkdir(parents=True, exist_ok=True)
    pitches = np.geomspace(*REACH, 1 + round(chosen.steps * np.log2(REACH[1] / REACH[0])))
    with tempfile.TemporaryDirectory() as work, concurrent.futures.ThreadPoolExecutor(chosen.jobs) as pool:
        tasks = [pool.submit(measure, chosen.tool, mode, chosen.model, wave, level, pitches, pathlib.Path(work) / mode)
                 for wave in WAVES for mode in ("offline", "live") for level in LEVELS]
        rows = [row for task in tasks for row in task.result()]
    with (chosen.out / "tones.csv").open("w", newline="") as handle:
        table = csv.DictWriter(handle, rows[0].keys(), lineterminator="\n")
        table.writeheader()
        table.writerows(rows)
    text = summary(rows) + "\n" + sines(rows)
    (chosen.out / "tones.md").write_text(text)
    print(text, end="")
    if shutil.which("gnuplot"):
        picture(rows, chosen.out)


if __name__ == "__main__":
    main()
