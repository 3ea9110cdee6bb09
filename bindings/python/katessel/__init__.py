"""KaTessel hears the pitch of a voice or an instrument, every 5 ms.

What there is, in short:

    track = katessel.track("song.wav")          # a whole recording: time, frequency, confidence, voiced
    track = katessel.track(samples, 44100)      # the same from an array
    track.notes(), track.to_midi("song.mid"), track.to_pandas(), track.plot()
    for path, track in katessel.track_files(paths): ...
    for row in katessel.Stream(48000).follow(blocks): ...   # a live sound, block by block
"""
from .compat import pyin
from .core import HIGHEST_RATE, LOWEST_RATE, VERSION, ModelError, default_model
from .result import Note, Row, Track, concatenate
from .tracking import Stream, track, track_files

__version__ = f"{VERSION // 10000}.{VERSION // 100 % 100}.{VERSION % 100}"
__all__ = ["HIGHEST_RATE", "LOWEST_RATE", "ModelError", "Note", "Row", "Stream", "Track", "concatenate", "default_model",
           "pyin", "track", "track_files"]
