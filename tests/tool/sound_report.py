"""Judges sound that the tool wrote: sound_report.py FILE.wav CLAIM ARGUMENTS. Prints what it found; fails when wrong.

format RATE CHANNELS SECONDS     what it is, to a sample
smooth F                         no step is larger than a sine of F Hz at the largest level makes
level CHANNEL BEGIN END LOW HIGH the channel's root mean square between two instants lies there
same CHANNEL OTHER.wav           the channel is the other file, to a 24-bit step
full                             the largest sample is at full scale, and no two neighbours are
glide F G MS                     a sine from F to G Hz and back again in 2 s, at most MS milliseconds late or early
quiet BEGIN END                  all channels are zero between two instants
"""
import math
import struct
import sys

from track_report import lag


def read(path):
    """Rate, and one list of samples for each channel, of 24-bit or float WAV."""
    with open(path, "rb") as f:
        data = f.read()
    assert data[:4] == b"RIFF" and data[8:12] == b"WAVE", "no WAV file"
    position, bits = 12, 0
    while position + 8 <= len(data):
        kind, length = struct.unpack_from("<4sI", data, position)
        body = data[position + 8:position + 8 + length]
        if kind == b"fmt ":
            channels, rate, bits = struct.unpack_from("<HIxxxxxxH", body, 2)
        if kind == b"data":
            sound = body
        position += 8 + length + length % 2
    if bits == 32:
        samples = struct.unpack("<%df" % (len(sound) // 4), sound)
    else:
        assert bits == 24, "%d bits" % bits
        samples = [int.from_bytes(sound[i:i + 3], "little", signed=True) / 2 ** 23 for i in range(0, len(sound), 3)]
    return rate, [list(samples[c::channels]) for c in range(channels)]


def rms(samples):
    return math.sqrt(sum(s * s for s in samples) / len(samples))


def periods(sound, rate):
    """As rows of a track: when each period of a sine has its middle, and its frequency."""
    crossings = [(i + a / (a - b)) / rate for i, (a, b) in enumerate(zip(sound, sound[1:])) if a < 0 <= b]
    return [(0.5 * (a + b), 1 / (b - a), 1.0) for a, b in zip(crossings, crossings[1:])]


def judge(path, claim, arguments):
    rate, channels = read(path)
    if claim == "same":
        other = read(arguments[1])[1][0]
        mine = channels[int(arguments[0])]
        distance = max(abs(a - b) for a, b in zip(mine, other)) if len(mine) == len(other) else math.inf
        return distance < 2 ** -22, "largest difference %g" % distance
    numbers = [float(a) for a in arguments]
    if claim == "format":
        found = [rate, len(channels), len(channels[0]) / rate]
        return all(abs(a - b) < 0.5 / rate for a, b in zip(found, numbers)), "%d Hz, %d channels, %g s" % tuple(found)
    if claim == "smooth":
        sound = channels[-1]
        step = max(abs(a - b) for a, b in zip(sound, sound[1:]))
        most = 2 * math.pi * numbers[0] / rate * max(map(abs, sound))
        return step < 1.1 * most, "largest step %.4g of %.4g" % (step, most)
    if claim == "level":
        found = rms(channels[int(numbers[0])][int(numbers[1] * rate):int(numbers[2] * rate)])
        return numbers[3] <= found <= numbers[4], "level %.4f" % found
    if claim == "full":
        ends = [abs(s) > 1 - 2 ** -21 for s in channels[0]]
        flat = sum(a and b for a, b in zip(ends, ends[1:]))
        return any(ends) and flat == 0, "%d samples at full scale, %d of them side by side" % (sum(ends), flat)
    if claim == "glide":
        found = lag(periods(channels[0], rate), numbers[0], numbers[1], 2.0)
        return abs(found) < numbers[2], "lag %.3f ms" % found
    if claim == "quiet":
        found = max(abs(s) for channel in channels for s in channel[int(numbers[0] * rate):int(numbers[1] * rate)])
        return found == 0.0, "largest sample %g" % found
    sys.exit("unknown claim: " + claim)


if __name__ == "__main__":
    good, found = judge(sys.argv[1], sys.argv[2], sys.argv[3:])
    print(" ".join(sys.argv[1:]) + ": " + found)
    sys.exit(0 if good else 1)
