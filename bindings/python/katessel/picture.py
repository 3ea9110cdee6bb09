"""Pictures by matplotlib, like those of the command-line tool."""
from typing import TYPE_CHECKING, Any, Optional

import numpy as np
import numpy.typing as npt

from .samples import mono, optional, read, whole_rate

if TYPE_CHECKING:
    from .result import Track

_RANGE = 70.0  # [dB] from the loudest down to white
_WINDOW = 0.043  # [s]


def plot(track: "Track", samples: Optional[npt.ArrayLike], sr: Optional[float]) -> Any:
    """See Track.plot."""
    pyplot = optional("matplotlib.pyplot")
    sound, rate = np.zeros(0, np.float32), 0
    if samples is not None:
        sound, rate = mono(samples), whole_rate(sr)
    elif track.recording:
        sound, rate = read(track.recording)
    figure, (above, below) = pyplot.subplots(2, 1, sharex=True, height_ratios=(4, 1), figsize=(12, 7), layout="constrained")
    window = max(2, int(_WINDOW * rate))
    if len(sound) >= window:
        # The first instant of the picture is that of the track's first row.
        spectrum, frequencies, instants, image = above.specgram(
            sound, NFFT=window, Fs=rate, noverlap=window * 3 // 4, pad_to=4 * window, cmap="Greys", scale="dB")
        top = 10 * np.log10(max(float(spectrum.max()), 1e-20))
        image.set_clim(top - _RANGE, top)
    pitch = np.where(track.voiced, track.frequency, np.nan)
    above.plot(track.time, pitch, color="tab:orange", linewidth=2)
    above.set_yscale("log")
    above.set_ylim(50, 2000)
    above.set_ylabel("frequency [Hz]")
    above.set_title(track.recording)
    below.plot(track.time, track.confidence, color="tab:blue", linewidth=1)
    below.set_ylim(0, 1.02)
    below.set_ylabel("confidence")
    below.set_xlabel("time [s]")
    below.set_xlim(float(track.time[0]) if len(track.time) else 0.0, track.end)
    return figure
