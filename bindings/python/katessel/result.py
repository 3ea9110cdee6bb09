"""What tracking gives: arrays, and what is made of them."""
import os
from typing import Any, Iterator, List, NamedTuple, Optional, Sequence, overload

import numpy as np
import numpy.typing as npt

from .samples import Path, files, optional, path_bytes

_HOP = 0.005  # [s] from row to row


class Row(NamedTuple):
    """One instant of a track."""

    time: float
    """[s]"""
    frequency: float
    """[Hz]"""
    confidence: float
    """0 to 1"""
    voiced: bool
    """whether there is a pitch"""


class Note(NamedTuple):
    """A note of equal temperament, A4 at 440 Hz."""

    start: float
    """[s]"""
    end: float
    """[s]"""
    midi: int
    """69 for A4"""
    name: str
    """"A4", "C#3\""""
    frequency: float
    """[Hz] of the note, not of what was sung"""


class _Arrays(NamedTuple):
    time: npt.NDArray[np.float64]
    """[s] of the sound itself: 0, 0.005, .. for a whole recording; all latency is taken out. Shape (rows,)."""
    frequency: npt.NDArray[np.float32]
    """[Hz]; 0 where the sound is not voiced, unless `unvoiced` said otherwise. Shape (rows,)."""
    confidence: npt.NDArray[np.float32]
    """0 to 1: about the probability that the sound is voiced and the frequency right, within 50 cents. Shape (rows,)."""


class Track(_Arrays):
    """One value in each array for every 5 ms; it unpacks to `time, frequency, confidence`.

    >>> track = Track([0.0, 0.005, 0.01], [0.0, 220.5, 221.0], [0.1, 0.9, 0.8])
    >>> time, frequency, confidence = track
    >>> track.voiced.tolist()
    [False, True, True]
    """

    def __new__(cls, time: npt.ArrayLike, frequency: npt.ArrayLike, confidence: npt.ArrayLike, *,
                voiced: Optional[npt.ArrayLike] = None, end: Optional[float] = None, recording: str = "", rate: int = 0,
                about: str = "{}") -> "Track":
        self = super().__new__(cls, np.asarray(time, np.float64), np.asarray(frequency, np.float32),
                               np.asarray(confidence, np.float32))
        self._voiced = None if voiced is None else np.asarray(voiced, np.bool_)
        self._end = end
        self._recording, self._rate, self._about = recording, rate, about
        return self

    _voiced: Optional[npt.NDArray[np.bool_]] = None
    _end: Optional[float] = None
    _recording, _rate, _about = "", 0, "{}"

    @property
    def voiced(self) -> npt.NDArray[np.bool_]:
        """Whether a row has a pitch. Shape (rows,)."""
        return self.frequency > 0 if self._voiced is None else self._voiced

    @property
    def end(self) -> float:
        """Where the sound ends [s]; for blocks of a stream, 5 ms behind the last row."""
        if self._end is not None:
            return self._end
        return float(self.time[-1]) + _HOP if len(self.time) else 0.0

    @property
    def recording(self) -> str:
        """The file it comes from; empty for arrays."""
        return self._recording

    def rows(self) -> Iterator[Row]:
        """One after the other."""
        for time, frequency, confidence, voiced in zip(self.time, self.frequency, self.confidence, self.voiced):
            yield Row(float(time), float(frequency), float(confidence), bool(voiced))

    def notes(self) -> List[Note]:
        """The notes that are held for 40 ms and more, in their order, as the MIDI files of the command-line tool have them."""
        module = files()
        return [Note(start, end, midi, module.note_name(midi), module.note_frequency(midi))
                for start, end, midi in module.find_notes(self._columns(), self.end)]

    def to_bytes(self, format: str, *, unit: str = "hz", unvoiced: Optional[str] = None) -> bytes:
        """The track as a file of csv, tsv, json, npy, pitchtier, textgrid, pitch, lab, midi or f0.

        unit       "hz", "cents" above 440 Hz or "midi" note numbers, where the format has rows
        unvoiced   what such rows hold: "zero" (in Hz), "nan", or "drop" for leaving rows that are not voiced out
        """
        start = float(self.time[0]) if len(self.time) else 0.0
        made: bytes = files().track_bytes(format, self._columns(), start, self.end, os.fsencode(self.recording), self._rate,
                                          self._about, unit, unvoiced or ("zero" if unit == "hz" else "nan"))
        return made

    def save(self, path: Path, format: Optional[str] = None, **options: str) -> None:
        """Writes a file, whole or not at all, in the format that its extension says; what was there is replaced."""
        name = path_bytes(path)
        files().write_file(name, self.to_bytes(files().format_of(name) if format is None else format, **options))

    @overload
    def to_csv(self, path: None = None, **options: str) -> str: ...
    @overload
    def to_csv(self, path: Path, **options: str) -> None: ...
    def to_csv(self, path: Optional[Path] = None, **options: str) -> Optional[str]:
        """Writes time, frequency and confidence as CSV; without a path, returns the text."""
        if path is None:
            return self.to_bytes("csv", **options).decode()
        self.save(path, "csv", **options)
        return None

    def to_midi(self, path: Path) -> None:
        """Writes the notes as a standard MIDI file."""
        self.save(path, "midi")

    def to_textgrid(self, path: Path) -> None:
        """Writes notes and voicing as a Praat TextGrid."""
        self.save(path, "textgrid")

    def to_pandas(self) -> Any:
        """A pandas.DataFrame of time, frequency, confidence and voiced, a row for every 5 ms; needs pandas."""
        return optional("pandas").DataFrame({"time": self.time, "frequency": self.frequency, "confidence": self.confidence,
                                             "voiced": self.voiced})

    def plot(self, samples: Optional[npt.ArrayLike] = None, sr: Optional[float] = None) -> Any:
        """Draws the spectrogram with the pitch over it and the confidence below; needs matplotlib.

        samples, sr   the sound, (n,) or (n, channels), and its rate [Hz]; without it, the file that the track comes from is read, if there is one
        Returns the figure of matplotlib.
        """
        from .picture import plot
        return plot(self, samples, sr)

    def _columns(self) -> Any:
        frequency = np.where(self.voiced & (self.frequency > 0), self.frequency, np.float32(0))
        return self.time, frequency, self.confidence


def concatenate(tracks: Sequence[Track]) -> Track:
    """The tracks of a stream's blocks as one.

    >>> concatenate([Track([0.0], [220.0], [0.9]), Track([0.005], [0.0], [0.2])]).frequency.tolist()
    [220.0, 0.0]
    """
    if not tracks:
        return Track([], [], [])
    return Track(np.concatenate([t.time for t in tracks]), np.concatenate([t.frequency for t in tracks]),
                 np.concatenate([t.confidence for t in tracks]), voiced=np.concatenate([t.voiced for t in tracks]),
                 recording=tracks[0].recording, rate=tracks[0]._rate, about=tracks[0]._about)
