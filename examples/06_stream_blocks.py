"""A live sound, block by block; the values come as soon as they are there."""
import katessel
import numpy as np
from melody import melody, print_notes

rate = 48000
sound = melody(rate).astype(np.float32)
stream = katessel.Stream(rate)
print(f"a value comes {1e3 * stream.latency / rate:.1f} ms behind its instant")

tracks = []
for block in np.split(sound, range(512, len(sound), 512)):
    tracks.append(stream.process(block))
tracks.append(stream.finish())
print_notes(np.concatenate([t.time for t in tracks]), np.concatenate([t.frequency for t in tracks]))
