"""Rooms: measured impulse responses, and those of shoebox rooms by image sources. Part of conditions.py.

A response begins with the direct sound, so that the pitch that was true before the room is true behind it.
J. Allen and D. Berkley, "Image method for efficiently simulating small-room acoustics", 1979.
"""
import numpy as np
from scipy import signal

from recordings import RATE, read

SPEED = 343.0        # [m/s]
LEAST_DIRECT = -6.0  # [dB] direct to reverberant sound; farther away the talker comes closer
DIRECT_SPAN = int(0.0025 * RATE)  # [samples] that count as direct sound


def at_least_direct(response):
    """Raises the direct sound to LEAST_DIRECT."""
    direct, reverberant = np.sum(response[:DIRECT_SPAN] ** 2), np.sum(response[DIRECT_SPAN:] ** 2)
    lacking = LEAST_DIRECT - 10 * np.log10(direct / max(reverberant, 1e-12))
    raised = response.copy()
    raised[:DIRECT_SPAN] *= 10 ** (max(lacking, 0.0) / 20)
    return raised


def measured(path):
    """A recorded response from its direct sound on: the top of the first strong peak."""
    response = read(path)
    strong = np.abs(response)
    first = int(np.argmax(strong > 0.3 * strong.max()))
    top = first + int(np.argmax(strong[first : first + RATE // 1000]))
    return at_least_direct(response[top:] / response[top])


def images(size, source, microphone, reach):
    """Along one axis: the images' positions from the microphone [m] and how often each was reflected."""
    n = np.arange(-int(reach / (2 * size)) - 1, int(reach / (2 * size)) + 2)
    positions = np.concatenate([2 * n * size + source, 2 * n * size - source]) - microphone
    return positions, np.concatenate([np.abs(2 * n), np.abs(2 * n - 1)])


def image_sources(size, t60, source, microphone, generator):
    """The sum of all images of the source until the sound has fallen by 60 dB, the direct sound 1 at the first sample."""
    volume, surface = np.prod(size), 2 * (size[0] * size[1] + size[1] * size[2] + size[0] * size[2])
    reflection = np.exp(-0.5 * 0.161 * volume / (surface * t60))  # Eyring
    distance = np.linalg.norm(source - microphone)
    samples = int(t60 * RATE)
    (x, nx), (y, ny), (z, nz) = (images(*axis, SPEED * t60) for axis in zip(size, source, microphone))
    response = np.zeros(samples + 1)
    for xi, ni in zip(x, nx):
        reflections = ni + ny[:, None] + nz
        # A few centimetres of disorder, as real walls have: a perfect box would ring in sweeps.
        away = np.sqrt(xi**2 + y[:, None] ** 2 + z**2) + generator.normal(0, 0.03, reflections.shape)
        delay = (away - distance) / SPEED * RATE
        heard = (delay >= 0) & (delay < samples) & (reflections > 0)
        delay, gain = delay[heard], reflection ** reflections[heard] * distance / away[heard]
        whole = delay.astype(int)
        response += np.bincount(whole, gain * (1 - (delay - whole)), samples + 1)
        response += np.bincount(whole + 1, gain * (delay - whole), samples + 1)[: samples + 1]
    # All images have one sign; without this they would add up to a rumble that no room has.
    response = signal.sosfilt(signal.butter(2, 40, "highpass", fs=RATE, output="sos"), response)
    response[0] += 1.0
    return response


def shoebox(generator):
    """A seeded room of 12 to 240 m³, T60 0.2 to 0.9 s, shorter above 1.5 kHz, heard from 0.5 to 4 m away."""
    size = generator.uniform([2.5, 2.2, 2.2], [9.0, 7.0, 3.8])
    t60 = 0.2 * 4.5 ** generator.uniform()
    while True:
        source, microphone = generator.uniform(0.3, size - 0.3, (2, 3))
        if 0.5 <= np.linalg.norm(source - microphone) <= 4.0:
            break
    low = image_sources(size, t60, source, microphone, generator)
    high = image_sources(size, t60 * generator.uniform(0.5, 0.9), source, microphone, generator)
    split = signal.butter(2, 1500, fs=RATE, output="sos")
    high = np.pad(high, (0, len(low) - len(high)))
    return at_least_direct(high + signal.sosfiltfilt(split, low - high))


def reverberate(samples, response):
    return signal.oaconvolve(samples, response)[: len(samples)]
