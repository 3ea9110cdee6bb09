"""A whole recording, two channels of 16-bit integers as a WAV file has them.

    python3 05_whole_recording.py [FILE.wav]
"""
import sys
import wave

import katessel
import numpy as np
from melody import melody, print_notes

if len(sys.argv) > 1:
    with wave.open(sys.argv[1]) as file:
        rate = file.getframerate()
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2").reshape(-1, file.getnchannels())
else:
    rate = 44100
    samples = np.stack([np.int16(20000 * melody(rate))] * 2, axis=1)

track = katessel.track(samples, rate)
print(f"{rate} Hz, {len(track.time)} values")
print_notes(track.time, track.frequency)
