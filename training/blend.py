#!/usr/bin/python3
"""Averages two weight files of the same run: blend.py FIRST SECOND SHARE OUT, SHARE being the second one's, 0 to 1.

Weights refined from one checkpoint lie in the same valley; a point between keeps what each has gained.
"""
import struct
import sys

import numpy as np


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


def main():
    if len(sys.argv) != 5 or not 0.0 <= float(sys.argv[3]) <= 1.0:
        sys.exit(__doc__.splitlines()[0])
    first, second, share = open(sys.argv[1], "rb").read(), open(sys.argv[2], "rb").read(), float(sys.argv[3])
    if tensors(first) != tensors(second):
        sys.exit(f"blend.py: {sys.argv[2]}: expected the layers of {sys.argv[1]}, found others")
    blend = bytearray(first)
    for place, size in tensors(first):
        a, b = (np.frombuffer(data, "<f4", size // 4, place).astype(np.float64) for data in (first, second))
        blend[place:place + size] = ((1.0 - share) * a + share * b).astype("<f4").tobytes()
    with open(sys.argv[4], "wb") as file:
        file.write(blend)


if __name__ == "__main__":
    main()
