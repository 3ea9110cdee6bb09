"""KaTessel hears the pitch of a voice or an instrument, every 5 ms.

    track = katessel.track(samples, 44100)      # a whole recording: arrays time, frequency, confidence
    stream = katessel.Stream(48000)             # a live sound, block by block
    track = stream.process(block)
"""
from .core import HIGHEST_RATE, LOWEST_RATE, ModelError, default_model
from .tracking import Stream, Track, track

__all__ = ["HIGHEST_RATE", "LOWEST_RATE", "ModelError", "Stream", "Track", "default_model", "track"]
