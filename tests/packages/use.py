"""use.py TRACK ROOT: the package `katessel` below ROOT gives the pitch that the tool wrote to TRACK."""
import csv
import os
import sys

import numpy as np

import katessel

track, root = sys.argv[1:]
assert katessel.__file__.startswith(root), katessel.__file__
assert katessel.default_model() == os.path.join(root, "usr/share/katessel/offline.weights"), katessel.default_model()
with open(track, encoding="ascii") as file:
    rows = list(csv.DictReader(file))
assert len(rows) > 600 and sum(float(row["frequency"]) > 0 for row in rows) > 300
time = np.arange(48000) / 48000
tone = sum(0.1 / h * np.sin(2 * np.pi * 200 * h * time) for h in range(1, 11))
found = katessel.track(tone, 48000).frequency[100]
assert abs(found - 200) < 4, found
print(f"{len(rows)} rows; 200 Hz heard as {found:.1f} Hz")
