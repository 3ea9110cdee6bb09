"""check_simple_host.py TOOL PLUGIN_FOLDER READ_TRACK RECORDING..: what vamp-simple-host writes is what the tool tracks live,
notes included.

The host cuts a recording into blocks and fills the last one with zeros; what the tool hears behind the end is silence as
well, so that every row must agree, to the digits that the host writes.
"""
import csv
import io
import math
import os
import re
import subprocess
import sys
import tempfile

tool, folder, read_track, recordings = sys.argv[1], sys.argv[2], sys.argv[3], sys.argv[4:]


def host(output, recording):
    """Lines as the host writes them, "INSTANT: VALUE" or "INSTANT, DURATION: VALUE NAME"."""
    done = subprocess.run(["vamp-simple-host", "katessel:pitch:" + output, recording], check=True,
                          env={**os.environ, "VAMP_PATH": folder}, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return done.stdout.decode().splitlines()


def values(output, recording):
    """Rows of instant [s] and value."""
    return [tuple(float(x) for x in line.split(":")) for line in host(output, recording)]


def host_notes(recording):
    """Rows of start [s], end [s] and MIDI number."""
    for line in host("notes", recording):
        start, duration, frequency = map(float, re.match(r" *(\S+), (\S+): (\S+) ", line).groups())
        yield start, start + duration, round(69 + 12 * math.log2(frequency / 440))


def tool_notes(recording):
    with tempfile.NamedTemporaryFile(suffix=".mid") as file:
        subprocess.run([tool, "track", "--mode", "live", "--format", "midi", "--force", recording, "-o", file.name], check=True)
        lines = subprocess.run([sys.executable, read_track, file.name], check=True, stdout=subprocess.PIPE).stdout
    return [tuple(map(float, line.split(","))) for line in lines.decode().splitlines()[:-1]]


def track(recording):
    done = subprocess.run([tool, "track", "--mode", "live", recording], check=True, stdout=subprocess.PIPE)
    return [tuple(map(float, row)) for row in list(csv.reader(io.StringIO(done.stdout.decode())))[1:]]


def check(what, found, expected):
    pairs = list(zip(found, expected))
    wrong = [(a, b) for a, b in pairs if abs(a[0] - b[0]) > 1e-6 or any(abs(x - y) > 1.1e-3 for x, y in zip(a[1:], b[1:]))]
    print("%s: %d rows, %d wrong" % (what, len(pairs), len(wrong)), *wrong[:3], sep="\n  ")
    return bool(pairs) and not wrong


good = True
for recording in recordings:
    rows = track(recording)
    frequency, confidence = values("f0", recording), values("confidence", recording)
    last = rows[-1][0]
    good &= len(confidence) >= len(rows) and confidence[-1][0] < last + 0.05
    good &= check(recording + " confidence", confidence, [(t, c) for t, _, c in rows])
    voiced = [(t, f) for t, f, _ in rows if f > 0]
    good &= [t for t, _ in frequency if t <= last + 1e-6] == [t for t, _ in voiced]
    good &= check(recording + " f0", frequency, voiced)
    # What is open at the end of the sound ends later where zeros follow.
    found, expected = [[note for note in notes if note[1] < last - 0.1] for notes in (host_notes(recording), tool_notes(recording))]
    good &= len(found) == len(expected) and check(recording + " notes", found, expected)
sys.exit(0 if good else 1)
