"""Sound and paths as callers have them, made into what the engine takes."""
import importlib
import operator
import os
from typing import Any, Optional, Tuple, Union

import numpy as np
import numpy.typing as npt

from . import core

Path = Union[str, "os.PathLike[str]"]
_MOST_CHANNELS = 8


def path_bytes(path: Path) -> bytes:
    """A path as the system takes it."""
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError(f"bad path: expected no NUL byte, found one in {os.fspath(path)!r}")
    return name


def files() -> Any:
    """The module that reads and writes files, which a build without the libraries for them does not have."""
    try:
        from . import files as module
    except ImportError as error:
        raise ImportError(f"no files: katessel.files: expected the module with its libraries, found {error}") from error
    return module


def optional(name: str) -> Any:
    """A module of a package that is not needed for anything else."""
    try:
        return importlib.import_module(name)
    except ImportError as error:
        raise ImportError(f"missing package: expected {name.split('.')[0]}, found {error}") from error


def read(path: Path, channel: Optional[int] = None, allow_damaged: bool = False) -> Tuple[npt.NDArray[np.float32], int]:
    """One channel of a sound file and its rate [Hz]; one that the engine does not take is converted to 24000."""
    name = path_bytes(path)
    os.stat(name)  # says that there is none as Python does
    sound, rate = files().read_sound(name, channel, allow_damaged)
    return sound, rate


def mono(x: npt.ArrayLike) -> npt.NDArray[np.float32]:
    """One channel of contiguous float32 samples out of (n,) or (n, channels) with up to 8 channels, which are averaged."""
    if isinstance(x, np.ma.MaskedArray):
        raise TypeError("bad samples: expected an array without a mask, found a masked one; say what is there with filled()")
    samples = np.asarray(x)
    # Integers of 64 bits are what NumPy makes of whole numbers of any scale: as samples they would be silence.
    if samples.dtype.kind != "f" and (samples.dtype.kind not in "iu" or samples.dtype.itemsize > 4):
        raise TypeError(f"bad samples: expected floating point or integers of up to 32 bits, found {samples.dtype}")
    if samples.ndim not in (1, 2):
        raise ValueError(f"bad samples: expected the shape (n,) or (n, channels), found {samples.shape}")
    if samples.ndim == 2 and not 1 <= samples.shape[1] <= _MOST_CHANNELS:
        raise ValueError(f"bad samples: expected the shape (n, channels) with 1 to {_MOST_CHANNELS} channels, "
                         f"found {samples.shape}; transpose (channels, n)")
    if samples.ndim == 2 and 0 < samples.shape[0] < samples.shape[1]:
        raise ValueError(f"bad samples: expected at least as many frames as channels, found {samples.shape}; transpose "
                         "(channels, n)")
    kind = samples.dtype
    with np.errstate(over="ignore", invalid="ignore"):  # what is too large for float32 becomes infinite, and is refused as that
        if samples.ndim == 2:
            samples = samples.mean(axis=1, dtype=np.float64)
        if kind.kind != "f":  # full scale is what the type can hold; unsigned ones have their middle at half of that
            half = 2.0 ** (8 * kind.itemsize - 1)
            samples = (samples.astype(np.float64) - (half if kind.kind == "u" else 0.0)) / half
        sound = np.ascontiguousarray(samples, dtype=np.float32)
    limit = core.LARGEST_SAMPLE
    if len(sound) > 0 and not (sound.min() >= -limit and sound.max() <= limit):  # nor is it with one that is not a number
        place = int(np.argmin(np.abs(sound) <= limit))
        raise ValueError(f"bad sample: expected a number within +-{limit:.0f}, found {sound[place]} at place {place}")
    return sound


def whole_rate(sr: Any) -> int:
    """The sample rate as a whole number; 44100.0 is one as well."""
    if isinstance(sr, (float, np.floating)) and float(sr).is_integer():
        return int(sr)
    try:
        return operator.index(sr)
    except TypeError:
        raise TypeError(f"bad rate: expected a whole number of Hz, found {sr!r}") from None
