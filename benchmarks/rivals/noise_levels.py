#!/usr/bin/python3
"""Accuracy against noise level: mixes noise with recordings of known pitch and runs compare.py on each level.

    noise_levels.py FOLDER NOISES --out out/noise [--every 3] [--only "katessel offline,praat ac,.."]

FOLDER holds recordings with .f0 files beside them, NOISES recordings of noise. Every recording gets a stretch of one of the
noises, the same at every level, at -5 to 30 dB below its voiced frames' mean power. Writes OUT/levels.csv, a row per level
and tracker, and OUT/levels.png. Needs gnuplot-nox and what compare.py needs.
"""
import argparse
import csv
import json
import pathlib
import random
import shutil
import subprocess

import numpy as np

import plots
from recordings import find, read, read_truth, stretch, voiced_power, write

LEVELS = [-5, 0, 5, 10, 15, 20, 30]
TRACKERS = "katessel offline,katessel live,praat ac,praat cc,sptk rapt,sptk swipe"


def mix(clips, noises, folder):
    sounds = [read(path) for path in noises]
    for number, clip in enumerate(clips):
        samples = read(clip)
        power = voiced_power(samples, read_truth(clip.with_suffix(".f0")))
        choose = random.Random(number)
        noise = choose.choice(sounds)
        noise = stretch(noise, len(samples), -choose.randrange(len(noise)))
        if power == 0.0 or not noise.any():
            continue
        noise = noise * np.sqrt(power / np.mean(noise**2))
        for level in LEVELS:
            target = folder / f"snr_{level}" / f"{clip.stem}.wav"
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
    mix(find(chosen.folder, truth=True)[:: chosen.every], find(chosen.noises), mixed)
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
    names = [(tracker, "katessel" in tracker) for tracker in trackers]
    plots.plot(chosen.out / "levels.png", 'set key bottom right\nset xlabel "noise below the voice [dB]"\n'
               'set ylabel "F1 at 50 cents, voicing included"\nset yrange [0:1]\nplot ' + plots.curves(table, names) + "\n")


if __name__ == "__main__":
    main()
