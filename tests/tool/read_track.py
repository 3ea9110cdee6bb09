"""Reads tracks that are no CSV: read_track.py FILE prints what a FILE.npy, .json, .PitchTier, .lab or .mid says.

npy, json    time,pitch,confidence a line, as a CSV track has it, without the header
PitchTier    start,end, then time,pitch a line
lab          start,end,label a line
mid          start,end,note a line, and the end of the track
"""
import json
import math
import re
import struct
import sys


def row(time, pitch, confidence):
    text = "nan" if pitch is None or math.isnan(pitch) else "%.3f" % pitch
    return "%.3f,%s,%.6f" % (time, text, confidence)


def npy(data):
    assert data[:8] == b"\x93NUMPY\x01\x00"
    length = struct.unpack("<H", data[8:10])[0]
    assert (10 + length) % 64 == 0 and data[9 + length:10 + length] == b"\n"
    header = eval(data[10:10 + length])
    assert header["descr"] == "<f4" and header["fortran_order"] is False
    rows, columns = header["shape"]
    values = struct.unpack("<%df" % (rows * columns), data[10 + length:])
    return [row(*values[columns * r:columns * r + columns]) for r in range(rows)]


def json_rows(data):
    columns = list(json.loads(data)["track"].values())
    assert len(columns) == 3 and len({len(c) for c in columns}) == 1
    return [row(*values) for values in zip(*columns)]


def pitch_tier(data):
    lines = data.decode().splitlines()
    assert lines[:3] == ['File type = "ooTextFile"', 'Object class = "PitchTier"', ""]
    values = [re.fullmatch(r"\s*(\S+|points: size) = (\S+)", line) for line in lines[3:6]]
    assert [v[1] for v in values] == ["xmin", "xmax", "points: size"]
    points = lines[6:]
    assert len(points) == 3 * int(values[2][2])
    assert points[::3] == ["points [%d]:" % (i + 1) for i in range(len(points) // 3)]
    number = lambda line, name: float(re.fullmatch(r" {4}%s = (\S+)" % name, line)[1])
    pairs = [(number(a, "number"), number(b, "value")) for a, b in zip(points[1::3], points[2::3])]
    return ["%.3f,%.3f" % pair for pair in [(float(values[0][2]), float(values[1][2]))] + pairs]


def lab(data):
    return [line.replace("\t", ",") for line in data.decode().splitlines()]


def midi(data):
    """Notes of a file of one track; fails at whatever else it finds, and at notes that overlap or do not end."""
    assert data[:4] == b"MThd" and struct.unpack(">IHHH", data[4:14])[:3] == (6, 0, 1)
    ticks = struct.unpack(">H", data[12:14])[0]
    assert data[14:18] == b"MTrk" and struct.unpack(">I", data[18:22])[0] == len(data) - 22
    at, tick, seconds_per_tick, sounding, found = 22, 0, None, None, []
    while True:
        delta = 0
        while True:
            delta = delta << 7 | data[at] & 0x7F
            at += 1
            if data[at - 1] < 0x80:
                break
        tick += delta
        time = tick * seconds_per_tick if tick else 0.0
        status, event = data[at], data[at + 1:at + 3]
        if status == 0xFF and event == b"\x51\x03":
            seconds_per_tick = int.from_bytes(data[at + 3:at + 6], "big") / 1e6 / ticks
            at += 6
        elif status == 0xFF and event == b"\x2f\x00":
            assert at + 3 == len(data) and sounding is None
            return found + ["%.3f" % time]
        elif status == 0x90:
            assert sounding is None and 0 < event[1] < 128
            sounding = time, event[0]
            at += 3
        else:
            assert status == 0x80 and sounding and sounding[1] == event[0]
            found.append("%.3f,%.3f,%d" % (sounding[0], time, event[0]))
            sounding = None
            at += 3


if __name__ == "__main__":
    path = sys.argv[1]
    readers = {"npy": npy, "json": json_rows, "PitchTier": pitch_tier, "lab": lab, "mid": midi}
    with open(path, "rb") as f:
        print("\n".join(readers[path.rsplit(".", 1)[1]](f.read())))
