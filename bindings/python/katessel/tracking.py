"""Tracking whole recordings and live sound."""
import json
import os
import sys
from collections import deque
from concurrent.futures import Future, ThreadPoolExecutor
from typing import Any, Deque, Iterable, Iterator, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import core
from .result import Row, Track, concatenate
from .samples import Path, mono, optional, path_bytes, read, whole_rate

_UNVOICED = {"zero": 0.0, "nan": np.nan, "keep": None}


def _card_threshold(model: bytes) -> float:
    """A float's decimal digits, so that 0.7 is written as 0.7."""
    return float(str(np.float32(core.model_threshold(model))))


class Stream:
    """The pitch of a live sound.

    `process` takes blocks of any length and returns what they completed, often nothing and never anything late: a
    value comes with the sample that lies `latency` - 1 behind the instant that it describes. Several threads may share
    a stream; they wait for each other.

    sr          sample rate [Hz], katessel.LOWEST_RATE to katessel.HIGHEST_RATE
    model       weight file; None: the one that comes with the package
    threshold   confidence that decides which rows are voiced, and have a frequency; None: the model's own
    voicing     how: "frame", every row by itself; "hysteresis", more to begin and less to end; "smooth", the same on
                medians of three rows, 5 ms later; None: hysteresis, and smooth for whole recordings
    fmin, fmax  rows with a pitch outside count as not voiced [Hz]
    unvoiced    frequency of rows that are not voiced: "zero", "nan", or "keep" for what was found all the same
    """

    def __init__(self, sr: float, *, model: Optional[Path] = None, threshold: Optional[float] = None,
                 voicing: Optional[str] = None, fmin: Optional[float] = None, fmax: Optional[float] = None,
                 unvoiced: str = "zero") -> None:
        live, offline = [path_bytes(core.default_model(mode) if model is None else model) for mode in ("live", "offline")]
        if threshold is not None and not 0.0 <= _number("threshold", threshold) < float("inf"):
            raise ValueError(f"bad threshold: expected a number from 0 up, found {threshold!r}")
        rate = whole_rate(sr)
        if not core.LOWEST_RATE <= rate <= core.HIGHEST_RATE:
            raise ValueError(f"bad rate: expected {core.LOWEST_RATE} to {core.HIGHEST_RATE} Hz, found {rate}")
        if unvoiced not in _UNVOICED:
            raise ValueError(f"bad unvoiced: expected 'zero', 'nan' or 'keep', found {unvoiced!r}")
        self._lowest = 0.0 if fmin is None else _number("fmin", fmin)
        self._highest = float("inf") if fmax is None else _number("fmax", fmax)
        if not self._lowest <= self._highest:
            raise ValueError(f"bad range: expected fmin up to fmax, found {fmin!r} and {fmax!r}")
        self._filler = _UNVOICED[unvoiced]
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
        return self._track(self._engine.process(mono(block)))

    def finish(self) -> Track:
        """Returns the values that still waited for what comes after the sound's end. The stream is then as new."""
        return self._track(self._engine.finish())

    def follow(self, blocks: Iterable[npt.ArrayLike]) -> Iterator[Row]:
        """Takes blocks as they come and yields every row as soon as it is there, the last ones when the blocks end.

        >>> rows = list(Stream(8000).follow(np.zeros(80) for block in range(10)))
        >>> len(rows), rows[-1].time, rows[-1].voiced
        (20, 0.095, False)
        """
        for block in blocks:
            yield from self.process(block).rows()
        yield from self.finish().rows()

    def reset(self) -> None:
        """Forgets the sound: the next sample is that of instant 0."""
        self._engine.reset()

    def analyse(self, x: npt.ArrayLike) -> Track:
        """Tracks a whole recording, (n,) or (n, channels); the live sound is not disturbed."""
        return self._track(self._engine.analyse(mono(x)))

    def _track(self, arrays: "core.Arrays") -> Track:
        time, frequency, confidence, voiced = arrays
        voiced &= (frequency >= self._lowest) & (frequency <= self._highest)
        if self._filler is not None:
            frequency[~voiced] = self._filler
        return Track(time, frequency, confidence, voiced=voiced)


def track(x: Union[npt.ArrayLike, Path], sr: Optional[float] = None, *, mode: str = "offline", model: Optional[Path] = None,
          threshold: Optional[float] = None, voicing: Optional[str] = None, fmin: Optional[float] = None,
          fmax: Optional[float] = None, unvoiced: str = "zero", channel: Optional[int] = None,
          allow_damaged: bool = False) -> Track:
    """The pitch of a whole recording.

    x              samples, (n,) or (n, channels) with up to 8 channels, which are averaged: floating point, nominally
                   -1 .. 1, or integers of up to 32 bits, in any byte order; or the path of a file that libsndfile reads
    sr             sample rate [Hz]; a file says its own
    mode           "offline": every instant seen from both sides; "live": as a stream hears it
    model          weight file; None: the one that comes with the package
    threshold      confidence that decides which rows are voiced, and have a frequency; None: the model's own
    voicing        how: "frame", "hysteresis" or "smooth", as for Stream; None: the mode's usual one
    fmin, fmax     rows with a pitch outside count as not voiced [Hz]
    unvoiced       frequency of rows that are not voiced: "zero", "nan", or "keep" for what was found all the same
    channel        of a file, from 1 on; None: the average
    allow_damaged  take what there is of a file that is cut off

    Row i describes the instant i * 5 ms. Other Python threads run while it works, and Ctrl-C ends it within a fraction of a
    second.

    >>> track(np.zeros(24000), 24000).time[-1]
    0.995
    """
    if mode not in ("offline", "live"):
        raise ValueError(f"bad mode: expected 'offline' or 'live', found {mode!r}")
    recording = ""
    if isinstance(x, (str, os.PathLike)):
        if sr is not None:
            raise TypeError(f"bad rate: expected none beside a file, which has its own, found {sr!r}")
        recording = os.fsdecode(x)
        x, sr = read(x, channel, allow_damaged)
    elif channel is not None or allow_damaged:
        raise TypeError("bad options: expected channel and allow_damaged with a file, found an array")
    rate = whole_rate(sr)
    stream = Stream(rate, model=model, threshold=threshold, voicing=voicing, fmin=fmin, fmax=fmax, unvoiced=unvoiced)
    sound = mono(x)
    result = stream.analyse(sound) if mode == "offline" else concatenate([stream.process(sound), stream.finish()])
    settings = {name: value for name, value in (("mode", mode), ("threshold", threshold), ("voicing", voicing), ("fmin", fmin),
                                                ("fmax", fmax), ("channel", channel)) if value is not None}
    return Track(*result, voiced=result.voiced, end=len(sound) / rate, recording=recording, rate=rate,
                 about=json.dumps({"library": core.LIBRARY, "settings": settings}, default=float))


def track_files(paths: Iterable[Path], *, jobs: Optional[int] = None, progress: bool = False,
                **options: Any) -> Iterator[Tuple[Path, Track]]:
    """Tracks many files on several threads and yields each path with its track, in their order.

    jobs      threads; None: one for each processor
    progress  a line on standard error: by tqdm where that is installed, else a count
    options   as for track

    A file that cannot be tracked raises its error when its turn comes; those that were not begun are then left.
    """
    if jobs is not None and jobs < 1:
        raise ValueError(f"bad jobs: expected a number of threads from 1 up, found {jobs!r}")
    threads = jobs or os.cpu_count() or 1
    waiting = list(paths)
    show = _progress(len(waiting)) if progress else None
    pool = ThreadPoolExecutor(threads)
    running: Deque[Tuple[Path, "Future[Track]"]] = deque()
    try:
        for at in range(len(waiting) + 2 * threads):
            if at < len(waiting):
                running.append((waiting[at], pool.submit(track, waiting[at], **options)))
            if running and (len(running) > 2 * threads or at >= len(waiting)):
                path, result = running.popleft()
                yield path, result.result()
                if show is not None:
                    show.update(1)
    finally:
        for _, result in running:
            result.cancel()
        pool.shutdown()
        if show is not None:
            show.close()


class _Count:
    """What there is of tqdm where it is not installed."""

    def __init__(self, total: int) -> None:
        self._done, self._total = 0, total

    def update(self, more: int) -> None:
        self._done += more
        print(f"\r{self._done} of {self._total} recordings", end="", file=sys.stderr, flush=True)

    def close(self) -> None:
        print(file=sys.stderr)


def _progress(total: int) -> Any:
    try:
        return optional("tqdm").tqdm(total=total, unit="recording")
    except ImportError:
        return _Count(total)


def _number(name: str, value: Any) -> float:
    try:
        return float(value + 0)
    except TypeError:
        raise TypeError(f"bad {name}: expected a number, found {value!r}") from None
