"""Judges sound that the tool wrote: sound_report.py FILE.wav CLAIM ARGUMENTS. Prints what it found; fails when wrong.

format RATE CHANNELS SECONDS     what it is, to a sample
smooth F                         no step is larger than a sine of F Hz at the largest level makes
level CHANNEL BEGIN END LOW HIGH the channel's root mean square between two instants lies there
same CHANNEL OTHER.wav           the channel is the other file, to a 24-bit step
full                             the largest sample is at full scale, and no two neighbours are
glide F G MS                     a sine from F to G Hz and back again in 2 s, at most MS milliseconds late or early
quiet BEGIN END                  all channels are zero between two instants
"""
import sys

import numpy as np
import soundfile

from track_report import lag


def periods(sound, rate):
    """As rows of a track: when each period of a sine has its middle, and its frequency."""
    before = np.flatnonzero((sound[:-1] < 0) & (sound[1:] >= 0))
    crossings = (before + sound[before] / (sound[before] - sound[before + 1])) / rate
    return [(0.5 * (a + b), 1 / (b - a), 1.0) for a, b in zip(crossings, crossings[1:])]


def judge(path, claim, arguments):
    samples, rate = soundfile.read(path, always_2d=True)
    channels = samples.T
    if claim == "same":
        other = soundfile.read(arguments[1], always_2d=True)[0].T[0]
        mine = channels[int(arguments[0])]
        distance = np.abs(mine - other).max() if len(mine) == len(other) else np.inf
        return distance < 2 ** -22, "largest difference %g" % distance
    numbers = [float(a) for a in arguments]
    between = lambda begin, end: channels[:, int(begin * rate):int(end * rate)]
    if claim == "format":
        found = [rate, len(channels), len(samples) / rate]
        return np.all(np.abs(np.subtract(found, numbers)) < 0.5 / rate), "%d Hz, %d channels, %g s" % tuple(found)
    if claim == "smooth":
        sound = channels[-1]
        step = np.abs(np.diff(sound)).max()
        most = 2 * np.pi * numbers[0] / rate * np.abs(sound).max()
        return step < 1.1 * most, "largest step %.4g of %.4g" % (step, most)
    if claim == "level":
        found = np.sqrt(np.mean(between(numbers[1], numbers[2])[int(numbers[0])] ** 2))
        return numbers[3] <= found <= numbers[4], "level %.4f" % found
    if claim == "full":
        ends = np.abs(channels[0]) > 1 - 2 ** -21
        flat = np.count_nonzero(ends[1:] & ends[:-1])
        return ends.any() and flat == 0, "%d samples at full scale, %d of them side by side" % (ends.sum(), flat)
    if claim == "glide":
        found = lag(periods(channels[0], rate), numbers[0], numbers[1], 2.0)
        return abs(found) < numbers[2], "lag %.3f ms" % found
    if claim == "quiet":
        found = np.abs(between(*numbers)).max()
        return found == 0.0, "largest sample %g" % found
    sys.exit("unknown claim: " + claim)


if __name__ == "__main__":
    good, found = judge(sys.argv[1], sys.argv[2], sys.argv[3:])
    print(" ".join(sys.argv[1:]) + ": " + found)
    sys.exit(0 if good else 1)
