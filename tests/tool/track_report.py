"""Judges a track: track_report.py FILE.csv CLAIM ARGUMENTS. Prints what it found; fails when the claim is wrong.

rows N                  N rows, at the times 0.000, 0.005, ..
median LOW HIGH [A B]   the median pitch of the voiced rows (between A and B seconds) lies between LOW and HIGH
voiced LOW HIGH         the share of voiced rows does
clicks RATE MS          the confidence rises around the clicks of sound.py, on average at most MS milliseconds beside them
lag F G SECONDS MS      of a glide from F to G Hz and back again the pitch is at most MS milliseconds late or early
"""
import csv
import math
import statistics
import sys

from sound import click_samples


def read(path):
    with open(path, newline="") as f:
        lines = list(csv.reader(f))
    return [tuple(float(x) for x in line) for line in lines[1:]]


def voiced(rows):
    return [(t, f) for t, f, _ in rows if not math.isnan(f) and f != 0.0]


def clicks(rows, rate):
    """Mean distance of each rise's centre of gravity from its click [ms]; one by itself suffers from the 5 ms grid."""
    floor = min(c for _, _, c in rows)

    def distance(truth):
        near = [(t - truth, c - floor) for t, _, c in rows if abs(t - truth) < 0.05]
        return sum(d * c for d, c in near) / sum(c for _, c in near)

    return 1e3 * statistics.mean(distance(sample / rate) for sample in click_samples(rate))


def lag(rows, start, end, seconds):
    """Mean of the lags of both directions [ms]: a pitch that is estimated too low is late once and early once."""
    slope = math.log(end / start) / (0.5 * seconds)
    up, down = [], []
    for t, f in voiced(rows):
        if 0.1 * seconds < t < 0.4 * seconds:
            up.append(t - math.log(f / start) / slope)
        if 0.6 * seconds < t < 0.9 * seconds:
            down.append(t - seconds + math.log(f / start) / slope)
    return 1e3 * 0.5 * (statistics.median(up) + statistics.median(down))


def judge(rows, claim, arguments):
    if claim == "rows":
        on_grid = all(abs(row[0] - 0.005 * i) < 1e-9 for i, row in enumerate(rows))
        return len(rows) == int(arguments[0]) and on_grid, "%d rows, on the grid: %s" % (len(rows), on_grid)
    numbers = [float(a) for a in arguments]
    if claim == "median":
        low, high, begin, end = (numbers + [0.0, math.inf])[:4]
        value = statistics.median(f for t, f in voiced(rows) if begin <= t < end)
        return low <= value <= high, "median %.3f" % value
    if claim == "voiced":
        share = len(voiced(rows)) / len(rows)
        return numbers[0] <= share <= numbers[1], "share of voiced rows %.3f" % share
    if claim == "clicks":
        value = clicks(rows, numbers[0])
        return abs(value) <= numbers[1], "%.3f ms late" % value
    if claim == "lag":
        value = lag(rows, *numbers[:3])
        return abs(value) <= numbers[3], "lag %.2f ms" % value
    sys.exit("unknown claim: " + claim)


if __name__ == "__main__":
    good, found = judge(read(sys.argv[1]), sys.argv[2], sys.argv[3:])
    print(" ".join(sys.argv[1:]) + ": " + found)
    sys.exit(0 if good else 1)
