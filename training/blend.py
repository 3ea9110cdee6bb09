#!/usr/bin/python3
"""Averages two weight files of one descent.

    blend.py FIRST SECOND SHARE OUT [--shift-first live|offline] [--cents C]

SHARE is the second one's, 0 to 1. Weights refined from one checkpoint lie in the same valley; a point between keeps what each
has gained, also where the second has since learnt other sounds. Where the second was refined for one form alone and the first for
both, --shift-first moves the first to that form's scale before they meet. A mean may lean: --cents makes it read so much higher.
"""
import argparse
import pathlib
import re
import struct

import numpy as np

# The engine's scale of pitch [octaves], and between the offsets of its forms that of weights for both: training/Loss.h.
HEADER = pathlib.Path(__file__).parents[1] / "include" / "katessel" / "EngineFacts.hpp"
FACTS = {name: float(value) for name, value in re.findall(r"float (k\w+) = ([\d.]+)f;", HEADER.read_text())}
OCTAVES = FACTS["kOctavesPerUnit"]
OFFSETS = {"live": FACTS["kLiveOffset"], "offline": FACTS["kOfflineOffset"]}
JOINT_OFFSET = 0.7 * OFFSETS["offline"] + 0.3 * OFFSETS["live"]


def tensors(data):
    """(first byte, number of bytes) of the values of every tensor; docs/weight-file.md describes the format."""
    place, spans = 4, []
    for _ in range(struct.unpack_from("<i", data)[0]):
        place += 1 + data[place]
        (count,) = struct.unpack_from("<i", data, place)
        place += 4
        for _ in range(count):
            (rank,) = struct.unpack_from("<i", data, place)
            shape = struct.unpack_from(f"<{rank}i", data, place + 4)
            place += 4 + 4 * rank
            spans.append((place, 4 * int(np.prod(shape))))
            place += spans[-1][1]
    return spans


def share_of_one(text):
    share = float(text)
    if not 0.0 <= share <= 1.0:
        raise argparse.ArgumentTypeError(f"expected a number from 0 to 1, found {text}")
    return share


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("first")
    parser.add_argument("second")
    parser.add_argument("share", type=share_of_one)
    parser.add_argument("out")
    parser.add_argument("--shift-first", choices=OFFSETS)
    parser.add_argument("--cents", type=float, default=0.0)
    chosen = parser.parse_args()
    first, second = open(chosen.first, "rb").read(), open(chosen.second, "rb").read()
    if tensors(first) != tensors(second):
        parser.error(f"{chosen.second}: expected the layers of {chosen.first}, found others")
    blend = bytearray(first)
    for place, size in tensors(first):
        a, b = (np.frombuffer(data, "<f4", size // 4, place).astype(np.float64) for data in (first, second))
        last = place == tensors(first)[-1][0]  # the outputs' bias: pitch, voicing
        if chosen.shift_first and last:
            a[0] += (OFFSETS[chosen.shift_first] - JOINT_OFFSET) / OCTAVES
        mean = (1.0 - chosen.share) * a + chosen.share * b
        if last:
            mean[0] += chosen.cents / 1200.0 / OCTAVES
        blend[place:place + size] = mean.astype("<f4").tobytes()
    with open(chosen.out, "wb") as file:
        file.write(blend)


if __name__ == "__main__":
    main()
