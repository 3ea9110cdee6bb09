"""Sound as callers have it, made into what the engine takes."""
import operator
from typing import Any

import numpy as np
import numpy.typing as npt

_MOST_CHANNELS = 64
_FULL_SCALE = {np.dtype(np.int16): 2.0**-15, np.dtype(np.int32): 2.0**-31}


def mono(x: npt.ArrayLike) -> npt.NDArray[np.float32]:
    """One channel of contiguous float32 samples out of (n,) or (n, channels); channels are averaged."""
    samples = np.asarray(x)
    if samples.dtype not in _FULL_SCALE and samples.dtype.kind != "f":
        raise TypeError(f"bad samples: expected float32, float64, int16 or int32, found {samples.dtype}")
    if samples.ndim not in (1, 2):
        raise ValueError(f"bad samples: expected the shape (n,) or (n, channels), found {samples.shape}")
    if samples.ndim == 2 and not 1 <= samples.shape[1] <= _MOST_CHANNELS:
        raise ValueError(f"bad samples: expected the shape (n, channels) with 1 to {_MOST_CHANNELS} channels, "
                         f"found {samples.shape}; transpose (channels, n)")
    scale = _FULL_SCALE.get(samples.dtype)
    if samples.ndim == 2:
        samples = samples.mean(axis=1, dtype=np.float64)
    if scale is not None:
        samples = samples * scale
    with np.errstate(over="ignore"):  # what is too large for float32 becomes infinite, and is refused as that
        return np.ascontiguousarray(samples, dtype=np.float32)


def whole_rate(sr: Any) -> int:
    """The sample rate as a whole number; 44100.0 is one as well."""
    if isinstance(sr, (float, np.floating)) and float(sr).is_integer():
        return int(sr)
    try:
        return operator.index(sr)
    except TypeError:
        raise TypeError(f"bad rate: expected a whole number of Hz, found {sr!r}") from None
