"""Checked, not run: what the type hints promise to a program, and the errors that they must find."""
import pathlib
from typing import Iterator, List

import katessel
import numpy as np
import numpy.typing as npt


def use(x: npt.NDArray[np.float32]) -> float:
    stream = katessel.Stream(48000, model=pathlib.Path(katessel.default_model()), threshold=0.5)
    block: katessel.Track = stream.process(x)
    time: npt.NDArray[np.float64] = block.time
    latency: int = stream.latency
    notes: List[katessel.Note] = katessel.track("song.wav", fmin=60, unvoiced="nan").notes()
    text: str = block.to_csv()
    rows: Iterator[katessel.Row] = stream.follow([x])
    f0, voiced, probability = katessel.pyin(x, sr=16000)
    latency += len(notes) + len(text) + int(next(rows).midi if voiced[0] else f0[0])  # type: ignore[attr-defined]
    return float(katessel.track([0.0, 0.5], 24000.0).frequency.max()) + float(time[0]) + latency


katessel.track(np.zeros(10), "48000")  # type: ignore[arg-type]
