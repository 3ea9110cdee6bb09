"""Reads tracks that are no CSV: read_track.py FILE prints what a FILE.npy, .json, .jsonl, .PitchTier, .TextGrid, .Pitch, .lab or .mid says.

npy, json, jsonl
             time,pitch,confidence a line, as a CSV track has it, without the header
PitchTier    start,end, then time,pitch a line
TextGrid     tier,start,end,label a line
Pitch        start,end, then time,pitch,confidence a line
lab          start,end,label a line
mid          start,end,note a line, and the end of the track
"""
import json
import math
import re
import sys

import mido
import numpy as np


def row(time, pitch, confidence):
    text = "nan" if pitch is None or math.isnan(pitch) else "%.3f" % pitch
    return "%.3f,%s,%.6f" % (time, text, confidence)


def npy(path):
    with open(path, "rb") as f:
        assert int.from_bytes(f.read(10)[8:], "little") % 64 == 54, "the values do not begin at a multiple of 64"
    values = np.load(path)
    assert values.dtype == np.dtype("<f8") and values.flags.c_contiguous
    return [row(*each) for each in values]


def json_rows(path):
    with open(path) as f:
        columns = list(json.load(f)["track"].values())
    assert len(columns) == 3 and len({len(c) for c in columns}) == 1
    return [row(*values) for values in zip(*columns)]


def json_lines(path):
    with open(path) as f:
        rows = [json.loads(line) for line in f]
    assert all(list(each)[::2] == ["time", "confidence"] and len(each) == 3 for each in rows)
    return [row(*each.values()) for each in rows]


def pitch_tier(path):
    with open(path) as f:
        lines = f.read().splitlines()
    assert lines[:3] == ['File type = "ooTextFile"', 'Object class = "PitchTier"', ""]
    values = [re.fullmatch(r"\s*(\S+|points: size) = (\S+)", line) for line in lines[3:6]]
    assert [v[1] for v in values] == ["xmin", "xmax", "points: size"]
    points = lines[6:]
    assert len(points) == 3 * int(values[2][2])
    assert points[::3] == ["points [%d]:" % (i + 1) for i in range(len(points) // 3)]
    number = lambda line, name: float(re.fullmatch(r" {4}%s = (\S+)" % name, line)[1])
    pairs = [(number(a, "number"), number(b, "value")) for a, b in zip(points[1::3], points[2::3])]
    return ["%.3f,%.3f" % pair for pair in [(float(values[0][2]), float(values[1][2]))] + pairs]


def praat(path, kind):
    """The values of a Praat text file by their names, in order; brackets hold the count that they say."""
    with open(path) as f:
        lines = f.read().splitlines()
    assert lines[:3] == ['File type = "ooTextFile"', 'Object class = "%s"' % kind, ""], lines[:3]
    return [(m[1], m[2].strip('"')) for m in (re.fullmatch(r" *(.*?) = (.*)", line) for line in lines[3:]) if m]


def text_grid(path):
    values, rows, tier = praat(path, "TextGrid"), [], None
    assert values[2] == ("size", "2")
    for place, (name, value) in enumerate(values):
        if name == "name":
            tier, count, end = value, int(values[place + 3][1]), values[place + 1][1]
        if name == "text":
            (_, start), (_, stop) = values[place - 2 : place]
            assert start == end, "intervals of %s that do not meet at %s" % (tier, end)
            end = stop
            rows.append("%s,%.3f,%.3f,%s" % (tier, float(start), float(stop), value))
            count -= 1
            assert count >= 0 and (count > 0 or stop == values[1][1])
    return rows


def pitch(path):
    values = praat(path, "Pitch 1")
    head = dict(values[:7])
    frames = list(zip(*[[float(v) for n, v in values if n == name] for name in ("frequency", "strength")]))
    assert len(frames) == int(head["nx"]) and set(v for n, v in values if n == "nCandidates") == {"1"}
    times = [float(head["x1"]) + i * float(head["dx"]) for i in range(len(frames))]
    return ["%.3f,%.3f" % (float(head["xmin"]), float(head["xmax"]))] + [row(t, *f) for t, f in zip(times, frames)]


def lab(path):
    with open(path) as f:
        return f.read().replace("\t", ",").splitlines()


def midi(path):
    """Notes of a file of one track; fails at whatever else it finds, and at notes that overlap or do not end."""
    file = mido.MidiFile(path)
    assert file.type == 0 and len(file.tracks) == 1
    seconds, sounding, found = 0.0, None, []
    for message in file:  # with the seconds since the one before
        seconds += message.time
        if message.type == "note_on":
            assert sounding is None and message.velocity > 0
            sounding = seconds, message.note
        elif message.type == "note_off":
            assert sounding and sounding[1] == message.note
            found.append("%.3f,%.3f,%d" % (sounding[0], seconds, message.note))
            sounding = None
        else:
            assert message.type in ("set_tempo", "end_of_track", "control_change", "pitchwheel"), message
    assert sounding is None
    return found + ["%.3f" % seconds]


if __name__ == "__main__":
    readers = {"npy": npy, "json": json_rows, "jsonl": json_lines, "PitchTier": pitch_tier, "TextGrid": text_grid, "Pitch": pitch, "lab": lab, "mid": midi}
    print("\n".join(readers[sys.argv[1].rsplit(".", 1)[1]](sys.argv[1])))
