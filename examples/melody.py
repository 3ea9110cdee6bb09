"""What the examples listen to, and how they name it."""
import numpy as np

NAMES = ["C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"]


def melody(rate, lowest=220.0):
    """1.8 s: four notes of 0.4 s each, 0, 3, 7 and 12 semitones above `lowest` Hz, then silence."""
    note = np.arange(round(1.8 * rate)) // round(0.4 * rate)
    frequency = lowest * 2 ** (np.array([0, 3, 7, 12, 0])[np.minimum(note, 4)] / 12)
    phase = 2 * np.pi * np.cumsum(frequency) / rate
    return np.where(note < 4, sum(0.2 / h * np.sin(h * phase) for h in range(1, 9)), 0.0)


def print_notes(time, frequency):
    """Prints every note that is held for 40 ms: the instant [s] it began at, and its name. Of a stream, all at once."""
    voiced = frequency > 0
    midi = np.zeros(len(frequency), int)
    midi[voiced] = np.round(69 + 12 * np.log2(frequency[voiced] / 440))
    current = 0
    for i in range(len(midi) - 7):
        if midi[i] != current and np.all(midi[i : i + 8] == midi[i]):
            current = midi[i]
            if current:
                print(f"{time[i]:.1f} s  {NAMES[current % 12]}{current // 12 - 1}")
