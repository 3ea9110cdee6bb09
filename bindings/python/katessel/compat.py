"""Calls in the shape of other libraries, so that programs can change from one to the other."""
from typing import Any, Optional, Tuple

import numpy as np
import numpy.typing as npt

from .samples import whole_rate
from .tracking import track


def pyin(y: npt.ArrayLike, *, sr: float = 22050, fmin: Optional[float] = None, fmax: Optional[float] = None,
         hop_length: int = 512, fill_na: Optional[float] = np.nan,
         **options: Any) -> Tuple[npt.NDArray[np.float32], npt.NDArray[np.bool_], npt.NDArray[np.float32]]:
    """Returns `f0, voiced_flag, voiced_prob`, each of shape (1 + len(y) // hop_length,): frames centred at multiples of hop_length.

    y            samples, (n,) or (n, channels), as for katessel.track
    sr           sample rate [Hz]
    hop_length   [samples]; each frame is the nearest of the rows, which come every 5 ms
    fill_na      f0 [Hz] of frames that are not voiced; None: the frequency that was found all the same
    fmin, fmax   [Hz] frames outside count as not voiced
    options      as for katessel.track

    >>> f0, voiced_flag, voiced_prob = pyin(np.zeros(22050))
    >>> f0.shape, bool(voiced_flag.any())
    ((44,), False)
    """
    rate = whole_rate(sr)
    if hop_length < 1:
        raise ValueError(f"bad hop_length: expected a number of samples from 1 up, found {hop_length!r}")
    rows = track(y, rate, fmin=fmin, fmax=fmax, unvoiced="keep", **options)
    count = 1 + len(np.asarray(y)) // hop_length
    if len(rows.time) == 0:
        return np.full(count, fill_na or 0, np.float32), np.zeros(count, np.bool_), np.zeros(count, np.float32)
    nearest = np.minimum(np.round(np.arange(count) * (hop_length * 200 / rate)).astype(np.int64), len(rows.time) - 1)
    f0, voiced = rows.frequency[nearest], rows.voiced[nearest]
    if fill_na is not None:
        f0 = np.where(voiced, f0, np.float32(fill_na))
    return f0, voiced, rows.confidence[nearest]
