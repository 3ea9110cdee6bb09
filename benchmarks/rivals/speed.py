#!/usr/bin/python3
"""What trackers cost: processor time of whole processes, those that Debian packages beside ours, in turns on one core.

    speed.py RECORDING.. [--seconds 60,600] [--rates 24000,48000] [--steps 5,10] [--rounds 3] [--out out/speed] [--only NAME,..]

The recordings, one after the other and again from the start, make the sound. In every round every tracker has its turn, of two
seconds or one run, so that whatever else the machine does meets all of them; the least of a tracker's times counts, start
included. Ours steps by 5 ms whatever the others do. Writes OUT/speed.csv, OUT/speed.md and OUT/speed.png. Needs gnuplot-nox
and what compare.py needs.
"""
import argparse
import csv
import itertools
import os
import pathlib
import sys

import numpy as np

import plots
import recordings
import trackers
from compare import processor_seconds
from scoring import cell, markdown

TRACKERS = "ours,aubio yinfft,aubio yin,praat ac,praat cc,sptk rapt,sptk swipe"
REFERENCE = "katessel offline"
TURN = 2.0  # [s]


def numbers(text):
    return [int(number) for number in text.split(",")]


def make_sound(paths, rate, seconds, folder):
    samples = np.concatenate([recordings.read(path, rate) for path in paths])
    sound = folder / f"{rate}_{seconds}.wav"
    recordings.write(sound, np.resize(samples, rate * seconds), rate=rate)
    return sound


def measure(compared, sounds, rounds):
    """{case: the least processor time [s]}; a case is a sound's rate and length, a step and a tracker's name."""
    best = {}
    for _, (case, tracker) in itertools.product(range(rounds), compared.items()):
        turn = 0.0
        while turn < TURN:
            before = processor_seconds()
            tracker.track(sounds[case[:2]], tracker.thresholds[0])
            spent = processor_seconds() - before
            turn += spent
            best[case] = min(best.get(case, float("inf")), spent)
        print(*case, f"{best[case]:.2f} s", file=sys.stderr)
    return best


def table(best, names, seconds):
    """Times as multiples of ours, then what that means in real time."""
    cases = sorted({case[:3] for case in best if case[1] == seconds})
    shown = lambda rate, length, step, name: best.get((rate, length, step, name), best.get((rate, length, cases[0][2], name)))
    header = ["tracker"] + [f"{rate / 1000:g} kHz, {step} ms" for rate, _, step in cases]
    rows = []
    for name in names:
        times = [(shown(*case, name), shown(*case, REFERENCE)) for case in cases]
        rows.append([name] + [f"{cell(time / ours, 2)} ({cell(seconds / time, 0)} ×)" for time, ours in times])
    return markdown(header, rows)


def picture(out, best, trackers_shown, seconds, step):
    """Seconds of sound per second, at every rate."""
    rates = sorted({case[0] for case in best})
    with open(out / "bars.csv", "w") as file:
        for name in reversed(trackers_shown):
            speeds = (seconds / best[rate, seconds, step, name] for rate in rates)
            file.write(f"{name}," + ",".join(f"{speed:.1f}" for speed in speeds) + "\n")
    bars = ", ".join(f'"{out}/bars.csv" using (0.5*${2 + i}):($0+{0.2 - 0.4 * i}):(0.5*${2 + i}):(0.18) with boxxyerror '
                     f'title "{rate / 1000:g} kHz"' for i, rate in enumerate(rates))
    names = f'"{out}/bars.csv" using (0):0:ytic(1) with points pointsize 0 notitle'
    plots.plot(out / "speed.png", f"""set style fill solid 0.8 noborder
set xlabel "seconds of sound in a second of one core, {step} ms a step, {seconds} s of sound"
set key bottom right
set xrange [0:*]
set yrange [-0.6:{len(trackers_shown) - 0.4}]
unset grid
set grid xtics
plot {bars}, {names}
""", height=380)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("recordings", type=pathlib.Path, nargs="+")
    parser.add_argument("--seconds", type=numbers, default=[60, 600])
    parser.add_argument("--rates", type=numbers, default=[24000, 48000])
    parser.add_argument("--steps", type=numbers, default=[5, 10], help="[ms]")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--out", type=pathlib.Path, default=pathlib.Path("out/speed"))
    parser.add_argument("--only", default=TRACKERS)
    parser.add_argument("--tool", default="build/release/apps/katessel")
    chosen = parser.parse_args()

    os.sched_setaffinity(0, {min(os.sched_getaffinity(0))})  # the trackers inherit it
    sounds = {(rate, seconds): make_sound(chosen.recordings, rate, seconds, chosen.out / "sounds")
              for rate in chosen.rates for seconds in chosen.seconds}
    compared = {}
    for (rate, seconds), step in itertools.product(sounds, chosen.steps):
        known = trackers.choose(chosen.tool, chosen.only, rate=rate, step=step / 1000)
        compared |= {(rate, seconds, step, name): tracker for name, tracker in known.items()
                     if not tracker.ours or step == chosen.steps[0]}
    names = list(known)
    if REFERENCE not in names:
        recordings.fail("--only", REFERENCE + " among them", chosen.only)
    best = measure(compared, sounds, chosen.rounds)

    with open(chosen.out / "speed.csv", "w", newline="") as file:
        csv.writer(file).writerows([("rate", "seconds", "step", "tracker", "processor seconds")] +
                                   [(*case, f"{time:.3f}") for case, time in best.items()])
    text = "".join(f"{seconds} s of sound:\n\n{table(best, names, seconds)}\n" for seconds in chosen.seconds)
    (chosen.out / "speed.md").write_text(text)
    print(text, end="")
    picture(chosen.out, best, names, chosen.seconds[-1], chosen.steps[0])


if __name__ == "__main__":
    main()
