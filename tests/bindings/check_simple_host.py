"""check_simple_host.py TOOL PLUGIN_FOLDER RECORDING..: what vamp-simple-host writes is what the tool tracks live.

The host cuts a recording into blocks and fills the last one with zeros; what the tool hears behind the end is silence as
well, so that every row must agree, to the digits that the host writes.
"""
import csv
import io
import os
import subprocess
import sys

tool, folder, recordings = sys.argv[1], sys.argv[2], sys.argv[3:]


def host(output, recording):
    """Rows of instant [s] and value."""
    done = subprocess.run(["vamp-simple-host", "katessel:pitch:" + output, recording], check=True,
                          env={**os.environ, "VAMP_PATH": folder}, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return [tuple(float(x) for x in line.split(":")) for line in done.stdout.decode().splitlines()]


def track(recording, *options):
    done = subprocess.run([tool, "track", "--mode", "live", "--voicing", "frame", recording, *options], check=True, stdout=subprocess.PIPE)
    return [tuple(map(float, row)) for row in list(csv.reader(io.StringIO(done.stdout.decode())))[1:]]


def check(what, found, expected):
    pairs = list(zip(found, expected))
    wrong = [(a, b) for a, b in pairs if abs(a[0] - b[0]) > 1e-6 or abs(a[1] - b[1]) > 1e-3 * abs(b[1]) + 1e-3]
    print("%s: %d rows, %d wrong" % (what, len(pairs), len(wrong)), *wrong[:3], sep="\n  ")
    return bool(pairs) and not wrong


good = True
for recording in recordings:
    rows = track(recording)
    frequency, confidence = host("f0", recording), host("confidence", recording)
    last = rows[-1][0]
    good &= len(confidence) >= len(rows) and confidence[-1][0] < last + 0.05
    good &= check(recording + " confidence", confidence, [(t, c) for t, _, c in rows])
    voiced = [(t, f) for t, f, _ in rows if f > 0]
    good &= [t for t, _ in frequency if t <= last + 1e-6] == [t for t, _ in voiced]
    good &= check(recording + " f0", frequency, voiced)
sys.exit(0 if good else 1)
