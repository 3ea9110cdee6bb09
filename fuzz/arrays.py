"""arrays.py SECONDS [SEED]: random arrays for the Python package, of every type, byte order, shape and stride.

What is taken must give, sample by sample, what exact fractions say it holds, and the same rows however it is cut into
blocks; what is refused must be a TypeError or ValueError of one line. Prints how many there were of each.
"""
import random
import sys
import time
from fractions import Fraction

import katessel
import numpy as np
from katessel.samples import mono

TYPES = [kind + str(size) for kind, sizes in {"f": (2, 4, 8, 16), "i": (1, 2, 4, 8), "u": (1, 2, 4, 8), "c": (8,), "b": (1,)}.items()
         for size in sizes] + ["O", "U3", "M8[s]"]


def random_array(chance):
    kind = np.dtype(chance.choice("<>") + chance.choice(TYPES))
    shape = tuple(chance.choice((0, 1, 2, 3, 8, 9, 40, 700)) for _ in range(chance.choice((0, 1, 1, 1, 2, 2, 2, 3))))
    wide = tuple(2 * size + 1 for size in shape)
    count = int(np.prod(wide, dtype=np.int64))
    if count > 1_000_000:
        return np.zeros(shape, kind)
    if kind.kind == "f":
        values = np.array([chance.uniform(-1, 1) * 10 ** chance.choice((0, 0, -30, 3, chance.randint(-50, 50))) for _ in range(count)])
        if chance.random() < 0.1 and count:
            values[chance.randrange(count)] = chance.choice((np.nan, np.inf, -np.inf, 1e6, 1.0001e6))
    else:
        values = np.frombuffer(chance.randbytes(8 * count), np.int64)
    with np.errstate(all="ignore"):
        x = values.astype(kind).reshape(wide, order=chance.choice("CF"))
    steps = tuple(slice(None if step > 0 else size * 2 - 1, size * step if step > 0 else None, step) if size else slice(0, 0)
                  for size, step in ((size, chance.choice((1, 2, -1, -2))) for size in shape))
    x = x[steps]
    return np.ma.MaskedArray(x) if chance.random() < 0.03 else np.asarray(x).tolist() if chance.random() < 0.05 else x


def expected_sample(frame, kind):
    """The average of one frame's channels, as an exact fraction."""
    half = Fraction(2) ** (8 * kind.itemsize - 1)
    scale, middle = (half, half if kind.kind == "u" else 0) if kind.kind in "iu" else (1, 0)
    return sum((Fraction(*value.item().as_integer_ratio()) - middle) / scale if kind.itemsize < 16 or kind.kind != "f"
               else Fraction(*value.as_integer_ratio()) for value in frame) / len(frame)


def check(x, chance):
    sound = mono(x)
    frames = np.asarray(x).reshape(len(x), -1) if len(x) else np.zeros((0, 1), np.float32)
    assert sound.dtype == np.float32 and sound.flags.c_contiguous and sound.shape == (len(frames),)
    assert np.isfinite(sound).all()
    for place in chance.sample(range(len(frames)), min(len(frames), 20)):
        expected = expected_sample(frames[place], frames.dtype)
        largest = max(float(abs(expected)), *(abs(float(v)) for v in frames[place])) if frames.dtype.kind == "f" else 1.0
        assert abs(float(sound[place]) - float(expected)) <= 1e-7 * largest + 2e-45, (place, sound[place], expected)
    rate = chance.randint(1000, 240000)
    whole, stream, at, parts = katessel.track(x, rate, mode="live"), katessel.Stream(rate), 0, []
    while at < len(x):
        size = chance.randint(8, 300)  # no fewer frames than channels, also in the last
        size = size if at + size + 8 < len(x) else len(x) - at
        parts.append(stream.process(np.asarray(x)[at : at + size]))
        at += size
    parts.append(stream.finish())
    for found, wanted in zip(zip(*parts), whole):
        np.testing.assert_array_equal(np.concatenate(found), wanted)


def main():
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else time.time_ns() % 2**32
    end, taken, refused = time.monotonic() + float(sys.argv[1]), 0, 0
    while time.monotonic() < end:
        chance = random.Random(seed)
        x = random_array(chance)
        try:
            check(x, chance)
            taken += 1
        except (TypeError, ValueError) as error:
            assert str(error).startswith("bad ") and "\n" not in str(error), f"{error!r}, seed {seed}"
            refused += 1
        except BaseException:
            print(f"seed {seed}: {getattr(x, 'dtype', type(x))} {np.shape(x)}", file=sys.stderr)
            raise
        seed += 1
    print(f"{taken} arrays taken and {refused} refused, no fault")


if __name__ == "__main__":
    main()
