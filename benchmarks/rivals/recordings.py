"""Recordings with known pitch: finding, reading and writing them. Part of the programs beside it."""
import pathlib
import sys

try:
    import numpy as np
    import soundfile
    from scipy import signal
except ImportError as missing:
    sys.exit(f"{missing}: apt-get install python3-numpy python3-scipy python3-soundfile")

RATE, HOP = 24000, 120  # [Hz], [samples] of the grid that truth is given on
SOUNDS = (".ogg", ".wav", ".flac")


def fail(where, expected, found):
    sys.exit(f"{pathlib.Path(sys.argv[0]).name}: {where}: expected {expected}, found {found}")


def find(folder, truth=False):
    """The recordings in and below a folder, by name; only those with an .f0 file beside them if `truth`."""
    found = [p for p in sorted(folder.rglob("*")) if p.suffix in SOUNDS and (not truth or p.with_suffix(".f0").is_file())]
    if not found:
        fail(folder, f"recordings{' with .f0 files beside them' if truth else ''}", "none")
    return found


def read(path, wanted=RATE):
    """The recording at 24 kHz or another rate, its channels averaged."""
    samples, rate = soundfile.read(path, always_2d=True)
    samples = samples.mean(axis=1)
    return samples if rate == wanted else signal.resample_poly(samples, wanted, rate)


def write(path, samples, subtype="PCM_16", rate=RATE):
    """As 16 bits a sample, made quieter where it would be clipped."""
    path.parent.mkdir(parents=True, exist_ok=True)
    soundfile.write(path, samples * min(1.0, 0.99 / max(np.abs(samples).max(), 1e-9)), rate, subtype)


def read_truth(path):
    """[Hz] every 5 ms; 0 no pitch, -1 not scored."""
    return np.loadtxt(path, usecols=1, ndmin=1)


def write_truth(path, pitch):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("".join(f"{i * HOP / RATE:.3f} {f0:.3f}\n" for i, f0 in enumerate(pitch)))


def voiced_power(samples, pitch):
    """Mean square of the samples around the frames that have a pitch; 0 where none has."""
    mask = np.repeat(pitch > 0, HOP)[: len(samples)]
    voiced = samples[: len(mask)][mask]
    return float(np.mean(voiced**2)) if len(voiced) else 0.0


def stretch(noise, samples, start):
    """So many samples of a recording from `start` on, begun anew at its end."""
    return np.roll(np.resize(noise, max(len(noise), samples)), -start)[:samples]
