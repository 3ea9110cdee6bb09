#!/usr/bin/python3
"""Accuracy behind rooms, scenes of noise and microphones: recordings of known pitch under eight conditions and as they are.

    conditions.py FOLDER NOISES [--rooms ROOMS] [--every 3] [-j 2] [--only ours] [--model A.weights --model B.weights]

FOLDER holds recordings with .f0 files beside them, NOISES recordings of noise, ROOMS impulse responses; one room in three is
one of those, the others are boxes by image sources. mixtures.py says what is made of them; it is kept in a temporary folder
for the next run, as are the others' figures. Every other tracker decides about voicing at several thresholds, of which that with
the best mean over the eight conditions is shown; ours at the model's own unless --thresholds are given. The others' tracks are
shifted by the delay that suits them best on clean recordings. Writes conditions.md, conditions.csv, conditions.png
and scene_levels.csv, scene_levels.png into --out. Needs gnuplot-nox and what compare.py needs.
"""
import argparse
import csv
import json
import pathlib
import shutil
import tempfile

import mixtures
import plots
import recordings
import trackers
from figures import LEVELS, best
from scoring import cell, markdown


def tables(results):
    conditions = list(mixtures.CONDITIONS)
    text = markdown(["F1", "threshold", *conditions, "mean of eight"], [
        [name, str(r["threshold"] or "its own"), *(cell(r["f1"][c], 3) for c in conditions), cell(r["mean of eight"], 3)]
        for name, r in results.items()])
    header = ["scene at", *LEVELS, *(f"{kind} noise called voiced" for kind in mixtures.KINDS_OF_NOISE),
              "flips a second, clean", "scene", "cents clean", "RPA 10"]
    return text + "\n" + markdown(header, [
        [name, *(cell(r["levels"].get(level), 3) for level in LEVELS),
         *(cell(r[f"noise {kind}"], 3) for kind in mixtures.KINDS_OF_NOISE),
         *(cell(r["flips"][c], 2) for c in ("clean", "scene")), cell(r["cents"], 1),
         cell(r["rpa 10"], 3)] for name, r in results.items()])


def pictures(results, compared, out):
    names = [(name, compared[name].ours) for name in results]
    for file, title, columns in (("conditions", "", list(mixtures.CONDITIONS)), ("scene_levels", "voice above the scene", LEVELS)):
        table = out / f"{file}.csv"
        with table.open("w", newline="") as handle:
            rows = csv.writer(handle, lineterminator="\n")
            rows.writerow(["condition", *results])
            for column in columns:
                rows.writerow([column, *(cell((r["f1"] | r["levels"]).get(column), 3) for r in results.values())])
        plots.plot(out / f"{file}.png", f'set key bottom left\nset rmargin 7\nset xlabel "{title}"\nset ylabel "F1 at 50 cents"\n'
                   f'set yrange [0:1]\nset xrange [-0.3:{len(columns) - 0.7}]\nset xtics rotate by -20\n'
                   f'plot {plots.curves(table, names, using="0:{column}:xtic(1)")}\n')


def unscored_places(path):
    """{clip: [(start, end)]} from lines of CLIP START END, as check_truth.py writes them."""
    places = {}
    for line in path.read_text().splitlines() if path else []:
        clip, start, end = line.split()[:3]
        places.setdefault(clip, []).append((float(start), float(end)))
    return places


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("noises", type=pathlib.Path)
    parser.add_argument("--rooms", type=pathlib.Path)
    parser.add_argument("--every", type=int, default=1, help="only every so manieth recording")
    parser.add_argument("--unscored", type=pathlib.Path, help="places to leave out, lines of CLIP START END [s]")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--model", action="append", default=[], help="weight file of ours; may be given several times")
    parser.add_argument("--thresholds", default="", help="for ours, after commas (default: the model's own)")
    parser.add_argument("--only", default="", help="names of trackers, after commas; ours: all of ours")
    parser.add_argument("-j", "--jobs", type=int, default=2)
    parser.add_argument("--tool", default="build/release/apps/katessel")
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path("out/conditions"))
    parser.add_argument("--cache", type=pathlib.Path, default=pathlib.Path(tempfile.gettempdir()) / "katessel-conditions")
    chosen = parser.parse_args()

    thresholds = tuple(float(t) for t in chosen.thresholds.split(",") if t) or (None,)
    compared = trackers.choose(chosen.tool, chosen.only, chosen.model, thresholds)
    clips = [(i, path, "_".join(path.relative_to(chosen.folder).with_suffix("").parts))
             for i, path in enumerate(recordings.find(chosen.folder, truth=True))][:: chosen.every]
    room_files = recordings.find(chosen.rooms) if chosen.rooms else []
    folder = mixtures.make(clips, recordings.find(chosen.noises), room_files, unscored_places(chosen.unscored), chosen.seed,
                           chosen.cache, chosen.jobs) / "sounds"
    sounds = [path.relative_to(folder) for path in recordings.find(folder)]
    chosen.out.mkdir(parents=True, exist_ok=True)
    results = {name: best(name, tracker, sounds, folder, chosen.tool, chosen.jobs) for name, tracker in compared.items()}
    (chosen.out / "conditions.json").write_text(json.dumps(results, indent=1))
    (chosen.out / "conditions.md").write_text(tables(results))
    print(tables(results), end="")
    if shutil.which("gnuplot"):
        pictures(results, compared, chosen.out)


if __name__ == "__main__":
    main()
