"""Tracking whole recordings and live sound."""
from typing import NamedTuple, Optional

import numpy as np
import numpy.typing as npt

from . import core
from .samples import Path, mono, path_bytes, whole_rate


class Track(NamedTuple):
    """One value in each array for every 5 ms."""

    time: npt.NDArray[np.float64]
    """[s] of the sound itself: 0, 0.005, .. for a whole recording; all latency is taken out."""
    frequency: npt.NDArray[np.float32]
    """[Hz]; 0 where the sound is not voiced."""
    confidence: npt.NDArray[np.float32]
    """0 to 1: about the probability that the sound is voiced and the frequency right, within 50 cents."""


def _track(time: npt.NDArray[np.float64], frequency: npt.NDArray[np.float32], confidence: npt.NDArray[np.float32],
           voiced: npt.NDArray[np.bool_]) -> Track:
    frequency[~voiced] = 0
    return Track(time, frequency, confidence)


def _card_threshold(model: bytes) -> float:
    """A float's decimal digits, so that 0.7 is written as 0.7."""
    return float(str(np.float32(core.model_threshold(model))))


class Stream:
    """The pitch of a live sound.

    `process` takes blocks of any length and returns what they completed, often nothing and never anything late: a
    value comes with the sample that lies `latency` - 1 behind the instant that it describes. Several threads may share
    a stream; they wait for each other.

    sr         sample rate [Hz], katessel.LOWEST_RATE to katessel.HIGHEST_RATE
    model      weight file; None: the one that comes with the package
    threshold  confidence that decides which rows are voiced, and have a frequency; None: the model's own
    voicing    how: "frame", every row by itself; "hysteresis", more to begin and less to end; "smooth", the same on
               medians of three rows, 5 ms later; None: hysteresis, and smooth for whole recordings
    """

    def __init__(self, sr: float, *, model: Optional[Path] = None, threshold: Optional[float] = None,
                 voicing: Optional[str] = None) -> None:
        live, offline = [path_bytes(core.default_model(mode) if model is None else model) for mode in ("live", "offline")]
        if threshold is not None and not 0.0 <= threshold < float("inf"):
            raise ValueError(f"bad threshold: expected a number from 0 up, found {threshold!r}")
        rate = whole_rate(sr)
        if not core.LOWEST_RATE <= rate <= core.HIGHEST_RATE:
            raise ValueError(f"bad rate: expected {core.LOWEST_RATE} to {core.HIGHEST_RATE} Hz, found {rate}")
        self._threshold, offline_threshold = [_card_threshold(path) if threshold is None else float(threshold)
                                              for path in (live, offline)]
        self._engine = core.open_engine(rate, (live, offline), (self._threshold, offline_threshold), voicing)

    @property
    def rate(self) -> int:
        """[Hz]"""
        return self._engine.rate

    @property
    def latency(self) -> int:
        """How much sound a value waits for [samples]."""
        return self._engine.latency

    @property
    def threshold(self) -> float:
        """The confidence that decides which rows are voiced."""
        return self._threshold

    def process(self, block: npt.ArrayLike) -> Track:
        """Takes the next samples, (n,) or (n, channels) with up to 8 channels, and returns the values that they completed.

        Ctrl-C ends it within a fraction of a second; the stream is then as new.
        """
        return _track(*self._engine.process(mono(block)))

    def finish(self) -> Track:
        """Returns the values that still waited for what comes after the sound's end. The stream is then as new."""
        return _track(*self._engine.finish())

    def reset(self) -> None:
        """Forgets the sound: the next sample is that of instant 0."""
        self._engine.reset()

    def analyse(self, x: npt.ArrayLike) -> Track:
        """Tracks a whole recording; the live sound is not disturbed."""
        return _track(*self._engine.analyse(mono(x)))


def track(x: npt.ArrayLike, sr: float, *, mode: str = "offline", model: Optional[Path] = None,
          threshold: Optional[float] = None, voicing: Optional[str] = None) -> Track:
    """The pitch of a whole recording.

    x          samples, (n,) or (n, channels) with up to 8 channels, which are averaged: floating point, nominally
               -1 .. 1, or integers of up to 32 bits, in any byte order
    sr         sample rate [Hz]
    mode       "offline": every instant seen from both sides; "live": as a stream hears it
    model      weight file; None: the one that comes with the package
    threshold  confidence that decides which rows are voiced, and have a frequency; None: the model's own
    voicing    how: "frame", "hysteresis" or "smooth", as for Stream; None: the mode's usual one

    Row i describes the instant i * 5 ms. Other Python threads run while it works, and Ctrl-C ends it within a fraction of a
    second.
    """
    if mode not in ("offline", "live"):
        raise ValueError(f"bad mode: expected 'offline' or 'live', found {mode!r}")
    stream = Stream(sr, model=model, threshold=threshold, voicing=voicing)
    if mode == "offline":
        return stream.analyse(x)
    begin, end = stream.process(x), stream.finish()
    return Track(np.concatenate([begin.time, end.time]), np.concatenate([begin.frequency, end.frequency]),
                 np.concatenate([begin.confidence, end.confidence]))
