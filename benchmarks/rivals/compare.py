#!/usr/bin/python3
"""Runs the pitch trackers that Debian packages, and ours, on the same recordings, one process and one core each.

    compare.py FOLDER [--tool build/release/apps/katessel] [--out out/rivals] [--only NAME,..] [--markdown FILE]

FOLDER holds recordings with .f0 files beside them, as `katessel eval` takes them. Every tracker hears the same 24 kHz
sound, searches from 50 to 1100 Hz every 5 ms where it can be told, and is otherwise left as it comes. Its tracks are scored by
`katessel eval` after being shifted by the whole-folder delay that suits them best, so that nobody loses to a convention.
Speed is the processor time of all its processes, starts included. Needs
praat, aubio-tools, sptk, python3-numpy, python3-scipy and python3-soundfile.
"""
import argparse
import os
import pathlib
import resource
import sys

import recordings
import trackers
from scoring import cell, markdown, score, write_tracks


def processor_seconds():
    """Of all processes that were started and have ended."""
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("folder", type=pathlib.Path)
    arguments.add_argument("--tool", default="build/release/apps/katessel")
    arguments.add_argument("--out", type=pathlib.Path, default=pathlib.Path("out/rivals"))
    arguments.add_argument("--only", default="")
    arguments.add_argument("--markdown", type=pathlib.Path)
    chosen = arguments.parse_args()
    compared = trackers.choose(chosen.tool, chosen.only)
    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})  # the trackers inherit it

    sounds, seconds = {}, 0.0
    for clip in recordings.find(chosen.folder, truth=True):
        name = clip.relative_to(chosen.folder)
        sounds[name] = (chosen.out / "sounds" / name).with_suffix(".wav")
        samples = recordings.read(clip)
        recordings.write(sounds[name], samples)
        seconds += len(samples) / recordings.RATE

    table = []
    for name, tracker in compared.items():
        before = processor_seconds()
        tracks = {clip: tracker.track(sound, tracker.thresholds[0]) for clip, sound in sounds.items()}
        spent = processor_seconds() - before
        folder = chosen.out / name.replace(" ", "-")
        write_tracks(folder, tracks)
        scores = score(chosen.tool, chosen.folder, folder)
        late = scores["all"]["offset_ms"] or 0.0
        if not tracker.ours:
            write_tracks(folder, tracks, late / 1000)
            scores = score(chosen.tool, chosen.folder, folder)
        table.append((name, late, seconds / spent, scores))
        print(f"{name}: done", file=sys.stderr)

    groups = [g for g in table[0][3] if g != "all"]
    columns = (("F1", "f1", 3), ("RPA 50", "raw_pitch_accuracy_50", 3), ("cents", "median_cents", 1),
               ("recall", "voicing_recall", 3), ("false alarm", "voicing_false_alarm", 3))
    header = ["tracker", "× real time", "late [ms]"] + [f"{group}: {label}" for group in groups for label, _, _ in columns]
    text = markdown(header, [[name, cell(speed, 0), cell(late, 1), *(cell(scores[group][key], digits)
                              for group in groups for _, key, digits in columns)] for name, late, speed, scores in table])
    print(text, end="")
    if chosen.markdown:
        chosen.markdown.write_text(text)


if __name__ == "__main__":
    main()
