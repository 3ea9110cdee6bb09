"""Checked, not run: what the type hints promise to a program, and one error that they must find."""
import pathlib

import katessel
import numpy as np
import numpy.typing as npt


def use(x: npt.NDArray[np.float32]) -> float:
    stream = katessel.Stream(48000, model=pathlib.Path(katessel.default_model()), threshold=0.5)
    block: katessel.Track = stream.process(x)
    time: npt.NDArray[np.float64] = block.time
    latency: int = stream.latency
    return float(katessel.track([0.0, 0.5], 24000.0).frequency.max()) + float(time[0]) + latency


katessel.track(np.zeros(10), "48000")  # type: ignore[arg-type]
