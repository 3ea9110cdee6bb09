#!/usr/bin/python3
"""Accuracy against noise level: mixes noise with recordings of known pitch and runs compare.py on each level.

    noise_levels.py FOLDER NOISES --out out/noise [--every 3] [--only "katessel offline,praat ac,.."]

FOLDER holds recordings with .f0 files beside them, NOISES recordings of noise. Every recording gets a stretch of one of the
noises, the same at every level, at -5 to 30 dB below its voiced frames' mean power. Writes OUT/levels.csv, a row per level and tracker,
and OUT/levels.png. Needs sox, gnuplot and python3-numpy, and what compare.py needs.
"""
import argparse
import csv
import json
import pathlib
import random
import shutil
import subprocess
import sys

import numpy as np

RATE, HOP = 24000, 120
LEVELS = [-5, 0, 5, 10, 15, 20, 30]
TRACKERS = "katessel offline,katessel live,praat ac,praat cc,sptk rapt,sptk swipe"
PLOT = """
set terminal pngcairo size 900,520 font "sans,11"
set output "{png}"
set datafile separator ","
set grid
set key bottom right
set xlabel "noise below the voice [dB]"
set ylabel "F1 at 50 cents, voicing included"
set yrange [0:1]
plot {curves}
"""


def read(path):
    raw = subprocess.run(["sox", path, "-t", "f32", "-r", str(RATE), "-c", "1", "-"], check=True, capture_output=True).stdout
    return np.frombuffer(raw, dtype="<f4").astype(np.float64)


def write(path, samples):
    scaled = samples * min(1.0, 0.99 / max(np.abs(samples).max(), 1e-9))
    subprocess.run(["sox", "-t", "f32", "-r", str(RATE), "-c", "1", "-", "-b", "16", path], check=True,
                   input=scaled.astype("<f4").tobytes())


def voiced_power(samples, truth):
    """Mean square of the samples around the frames that have a pitch."""
    pitch = np.loadtxt(truth, usecols=1, ndmin=1)
    mask = np.repeat(pitch > 0, HOP)[: len(samples)]
    voiced = samples[: len(mask)][mask]
    return float(np.mean(voiced**2)) if len(voiced) else 0.0


def recordings(folder, truth):
    found = [p for p in sorted(folder.rglob("*")) if p.suffix in (".ogg", ".wav", ".flac")]
    found = [p for p in found if not truth or p.with_suffix(".f0").is_file()]
    if not found:
        sys.exit(f"noise_levels.py: {folder}: expected recordings{' with .f0 files beside them' if truth else ''}, found none")
    return found


def mix(clips, noises, folder):
    sounds = [read(path) for path in noises]
    for number, clip in enumerate(clips):
        samples, power = read(clip), voiced_power(read(clip), clip.with_suffix(".f0"))
        choose = random.Random(number)
        noise = choose.choice(sounds)
        noise = np.roll(np.resize(noise, max(len(noise), len(samples))), choose.randrange(len(noise)))[: len(samples)]
        if power == 0.0 or not noise.any():
            continue
        noise = noise * np.sqrt(power / np.mean(noise**2))
        for level in LEVELS:
            target = folder / f"snr_{level}" / f"{clip.stem}.wav"
            target.parent.mkdir(parents=True, exist_ok=True)
            write(target, samples + noise * 10 ** (-level / 20))
            shutil.copyfile(clip.with_suffix(".f0"), target.with_suffix(".f0"))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("noises", type=pathlib.Path)
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path("out/noise"))
    parser.add_argument("--every", type=int, default=1, help="only every so manieth recording")
    parser.add_argument("--only", default=TRACKERS)
    parser.add_argument("--tool", default="build/release/apps/katessel")
    chosen = parser.parse_args()

    mixed = chosen.out / "recordings"
    shutil.rmtree(mixed, ignore_errors=True)
    mix(recordings(chosen.folder, True)[:: chosen.every], recordings(chosen.noises, False), mixed)
    compare = pathlib.Path(__file__).with_name("compare.py")
    subprocess.run([compare, mixed, "--tool", chosen.tool, "--out", chosen.out / "tracks", "--only", chosen.only], check=True,
                   stdout=subprocess.DEVNULL)

    table, trackers = chosen.out / "levels.csv", chosen.only.split(",")
    with table.open("w", newline="") as file:
        rows = csv.writer(file, lineterminator="\n")
        rows.writerow(["level_dB", *trackers])
        scores = [{group["group"]: group for group in json.loads(
            (chosen.out / "tracks" / tracker.replace(" ", "-") / "scores.json").read_text())} for tracker in trackers]
        for level in LEVELS:
            rows.writerow([level, *(f"{score[f'snr_{level}']['f1']:.3f}" for score in scores)])
    print(table.read_text(), end="")
    curves = ", ".join(f'"{table}" every ::1 using 1:{i + 2} with linespoints linewidth {3 if "katessel" in tracker else 1} '
                       f'title "{tracker}"' for i, tracker in enumerate(trackers))
    subprocess.run(["gnuplot"], check=True, text=True, input=PLOT.format(png=chosen.out / "levels.png", curves=curves))


if __name__ == "__main__":
    main()
