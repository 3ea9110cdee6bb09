"""Recordings with known pitch under nine conditions, and noise alone, seeded and kept. Part of conditions.py.

Every recording meets one level, one room, one scene (a stretch of noise, -6 to 20 dB below the voiced frames' power) and one
microphone, the same in every condition they take part in. The room is the voice's, the scene joins behind it, the microphone
hears both.
"""
import concurrent.futures
import hashlib
import os
import pathlib
import shutil
import zlib

import numpy as np
from scipy import signal

import recordings
import rooms
from recordings import RATE

CONDITIONS = {  # of what each is made
    "clean": (), "level": ("level",), "microphone": ("microphone",), "room": ("room",),
    "room and microphone": ("room", "microphone"), "scene": ("scene",),
    "scene and microphone": ("scene", "microphone"), "scene and room": ("scene", "room"),
    "all three": ("scene", "room", "microphone"),
}
NOISE_LEVELS = ((-6, 0), (0, 5), (5, 10), (10, 20))  # [dB] voice above noise
NOISE_SECONDS = 8  # of noise alone, each
KINDS_OF_NOISE = ("recorded", "music", "generated")  # alone; music by its name
GENERATED = ("white", "pink", "brown", "blue", "swelling", "clicks", "band", "crackle")


def spread(index, step):
    """Evenly over 0 to 1 for any run of indices, every third or every fifth too: multiples of an irrational step."""
    return index * step % 1.0


def generator_for(seed, name, factor):
    return np.random.default_rng([seed, zlib.crc32(name.encode()), zlib.crc32(factor.encode())])


def peak_filter(frequency, gain, width):
    """Second-order resonance of `gain` dB; b, a."""
    amplitude, angle = 10 ** (gain / 40), 2 * np.pi * frequency / RATE
    alpha = np.sin(angle) / (2 * width)
    middle = -2 * np.cos(angle)
    return (np.array([1 + alpha * amplitude, middle, 1 - alpha * amplitude]) / (1 + alpha / amplitude),
            np.array([1 + alpha / amplitude, middle, 1 - alpha / amplitude]) / (1 + alpha / amplitude))


def microphone(samples, generator):
    """A cheap microphone and its recorder: a band, three resonances, soft limiting, a floor 35 to 60 dB below."""
    low, high = 50 * 4 ** generator.uniform(), 3400 * 3.2 ** generator.uniform()  # [Hz]
    heard = signal.sosfilt(signal.butter(2, low, "highpass", fs=RATE, output="sos"), samples)
    heard = signal.sosfilt(signal.butter(generator.integers(2, 5), high, fs=RATE, output="sos"), heard)
    for _ in range(3):
        heard = signal.lfilter(*peak_filter(150 * 40 ** generator.uniform(), generator.uniform(-8, 8),
                                            generator.uniform(0.7, 3)), heard)
    drive = generator.uniform(0.1, 1.5)
    heard = np.tanh(drive * heard / max(np.abs(heard).max(), 1e-9))
    floor = np.sqrt(np.mean(heard**2)) * 10 ** (-generator.uniform(35, 60) / 20)
    return heard + floor * generator.standard_normal(len(heard))


def generated_noise(kind, generator):
    """Noise without pitch, one of GENERATED, at -20 dBFS RMS."""
    samples = NOISE_SECONDS * RATE
    white = generator.standard_normal(samples)
    slope = {"white": 0, "pink": -0.5, "brown": -1, "blue": 0.5, "swelling": -0.5, "crackle": -0.25}.get(kind, 0)
    shape = np.maximum(np.fft.rfftfreq(samples, 1 / RATE), 20.0) ** slope
    noise = np.fft.irfft(np.fft.rfft(white) * shape, samples)
    if kind == "swelling":
        slow = np.interp(np.arange(samples), np.arange(0, samples + RATE // 4, RATE // 4),
                         generator.uniform(-30, 0, 4 * NOISE_SECONDS + 1))
        noise *= 10 ** (slow / 20)
    elif kind == "band":
        noise = signal.sosfilt(signal.butter(2, [400, 2500], "bandpass", fs=RATE, output="sos"), noise)
    elif kind in ("clicks", "crackle"):
        struck = generator.uniform(size=samples) < (8 if kind == "clicks" else 150) / RATE
        knock = generator.standard_normal(RATE // 100) * np.exp(-np.arange(RATE // 100) / (RATE / 500))
        noise = 0.02 * noise / np.std(noise) + np.convolve(struck * white, knock)[:samples]
    return 0.1 * noise / np.sqrt(np.mean(noise**2))


class Mixer:
    """Makes the mixtures of one recording; a plain record, so that processes can share it."""

    def __init__(self, folder, noises, room_files, seed):
        self.folder, self.noises, self.rooms, self.seed = folder, noises, room_files, seed

    def room(self, index, name):
        """One room in three is a measured one, where there are any."""
        if self.rooms and spread(index, 7**0.5) < 1 / 3:
            return rooms.measured(self.rooms[int(spread(index, 2**0.5) * len(self.rooms))])
        return rooms.shoebox(generator_for(self.seed, name, "room"))

    def scene(self, index, samples, pitch, name):
        generator = generator_for(self.seed, name, "scene")
        path = self.noises[int(spread(index, 2**0.5) * len(self.noises))]
        noise = recordings.read(path)
        noise = recordings.stretch(noise, len(samples), generator.integers(len(noise)))
        if not noise.any():
            recordings.fail(path, "noise", f"{len(samples) / RATE:.1f} s of silence")
        level = NOISE_LEVELS[0][0] + (NOISE_LEVELS[-1][1] - NOISE_LEVELS[0][0]) * spread(index, (5**0.5 - 1) / 2)
        power = recordings.voiced_power(samples, pitch) or np.mean(samples**2)
        return samples + noise * np.sqrt(power / np.mean(noise**2)) * 10 ** (-level / 20), level

    def mix(self, index, clip, name, pitch):
        dry = recordings.read(clip)
        room = self.room(index, name)
        for condition, parts in CONDITIONS.items():
            samples, group = dry, condition
            if "room" in parts:
                samples = rooms.reverberate(samples, room)
            if "scene" in parts:
                samples, level = self.scene(index, samples, pitch, name)
                if condition == "scene":
                    low, high = next(bounds for bounds in NOISE_LEVELS if level < bounds[1])
                    group = f"scene/{low} to {high} dB"
            if "microphone" in parts:
                samples = microphone(samples, generator_for(self.seed, name, "microphone"))
            if "level" in parts:
                samples = samples / np.abs(samples).max() * 10 ** (-40 * spread(index, 3**0.5) / 20)
            path = self.folder / group / f"{name}.wav"
            recordings.write(path, samples)
            recordings.write_truth(path.with_suffix(".f0"), pitch)


def make(clips, noises, room_files, unscored, seed, cache, jobs):
    """A folder with CONDITION/CLIP.wav and .f0 and noise/KIND/NAME.wav, made anew unless the same was asked before.

    clips: [(index, path, name)]; unscored: {clip: [(start, end)]} [s], left out of the truth.
    """
    inputs = [str((seed, clips, noises, room_files, sorted(unscored.items())))]
    inputs += [str((p.stat().st_size, p.stat().st_mtime_ns)) for p in [*(p for _, p, _ in clips), *noises, *room_files]]
    inputs += [pathlib.Path(module.__file__).read_text() for module in (recordings, rooms)] + [pathlib.Path(__file__).read_text()]
    folder = cache / hashlib.sha256("\n".join(inputs).encode()).hexdigest()[:16]
    if folder.is_dir():
        return folder
    making = cache / f"{folder.name}.{os.getpid()}"
    sounds = making / "sounds"
    mixer = Mixer(sounds, noises, room_files, seed)
    with concurrent.futures.ProcessPoolExecutor(jobs) as pool:
        tasks = []
        for index, clip, name in clips:
            pitch = recordings.read_truth(clip.with_suffix(".f0"))
            for start, end in unscored.get(name, []):
                pitch[round(start * RATE / recordings.HOP) : round(end * RATE / recordings.HOP) + 1] = -1
            tasks.append(pool.submit(mixer.mix, index, clip, name, pitch))
        for task in tasks:
            task.result()
    for noise in noises:
        samples = recordings.read(noise)
        start = max(0, (len(samples) - NOISE_SECONDS * RATE) // 2)
        kind = "music" if noise.stem.startswith("music") else "recorded"
        recordings.write(sounds / "noise" / kind / f"{noise.stem}.wav", samples[start : start + NOISE_SECONDS * RATE])
    for kind in GENERATED:
        recordings.write(sounds / "noise/generated" / f"{kind}.wav", generated_noise(kind, generator_for(seed, kind, "")))
    try:
        making.rename(folder)
    except OSError:  # another run was faster
        shutil.rmtree(making)
    return folder
