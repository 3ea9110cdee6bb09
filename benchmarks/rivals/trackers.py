"""The pitch trackers that Debian packages, and ours, each as one call. Part of the programs beside it.

All search from 50 to 1100 Hz every 5 ms where they can be told (or every `step` [s]), and are otherwise left as they come.
"""
import array
import pathlib
import shutil
import subprocess
import tempfile
import wave
from typing import Callable, NamedTuple

from recordings import HOP, RATE, fail

LOW, HIGH = 50, 1100  # [Hz]
SPTK = "/usr/libexec/sptk/bin/pitch"
PRAAT_SCRIPT = """form Pitch
    sentence Sound
    sentence Method
    real Threshold
    real Step
endform
Read from file: sound$
if method$ = "ac"
    To Pitch (ac): step, 50, 15, "no", 0.03, threshold, 0.01, 0.35, 0.14, 1100
else
    To Pitch (cc): step, 50, 15, "no", 0.03, threshold, 0.01, 0.35, 0.14, 1100
endif
frames = Get number of frames
writeInfo: ""
for i to frames
    time = Get time from frame number: i
    f0 = Get value in frame: i, "Hertz"
    if f0 = undefined
        f0 = 0
    endif
    appendInfoLine: fixed$ (time, 6), " ", fixed$ (f0, 4)
endfor
"""


class Tracker(NamedTuple):
    """track(sound, threshold) gives rows of (time [s], frequency [Hz], perhaps confidence), 0 Hz where it hears no voice."""
    track: Callable
    thresholds: tuple = (None,)  # of voicing, worth trying; the first is the tracker's own, None one that is not told
    ours: bool = False


def run(command, **options):
    done = subprocess.run(command, capture_output=True, **options)
    if done.returncode != 0:
        fail(" ".join(map(str, command)), "status 0", f"{done.returncode}: {done.stderr.decode(errors='replace').strip()}")
    return done.stdout


def rows_of(text):
    lines = (line.split() for line in text.decode().splitlines())
    return [(float(fields[0]), float(fields[1])) for fields in lines if len(fields) >= 2]


def praat(method, step):
    script = tempfile.NamedTemporaryFile("w", suffix=".praat")  # as long as the tracker
    script.write(PRAAT_SCRIPT)
    script.flush()

    def track(sound, threshold):
        return rows_of(run(["praat", "--run", script.name, sound.resolve(), method, str(threshold), str(step)]))
    return Tracker(track, (0.45, 0.6, 0.75))


def aubio(method, thresholds, rate, step):
    def track(sound, threshold):
        told = [] if threshold is None else ["-l", str(threshold)]
        return rows_of(run(["aubiopitch", "-i", sound, "-p", method, "-r", str(rate), "-B", "2048", "-H", str(round(rate * step)),
                             *told]))
    return Tracker(track, thresholds)


def sptk(algorithm, option, thresholds, rate, step):
    hop = round(rate * step)

    def track(sound, threshold):
        with wave.open(str(sound)) as recording:
            samples = array.array("h", recording.readframes(recording.getnframes()))
        out = run([SPTK, "-a", str(algorithm), "-s", str(rate / 1000), "-p", str(hop), "-L", str(LOW), "-H", str(HIGH),
                   option, str(threshold), "-o", "1"], input=array.array("f", samples).tobytes())
        return [(i * hop / rate, f0) for i, f0 in enumerate(array.array("f", out))]
    return Tracker(track, thresholds)


def ours(tool, mode, model=None, thresholds=(None,)):
    def track(sound, threshold):
        told = (["--model", model] if model else []) + ([] if threshold is None else ["--threshold", str(threshold)])
        out = run([tool, "track", "--quiet", "--jobs", "1", "--mode", mode, *told, sound])
        return [tuple(map(float, line.split(","))) for line in out.decode().splitlines()[1:]]
    return Tracker(track, thresholds, True)


def choose(tool, only="", models=(), thresholds=(None,), rate=RATE, step=HOP / RATE):
    """{name: tracker}: ours in both modes with each model, and the others; or those whose names are in `only`, after commas.
    For sound at `rate` [Hz]; ours always steps by 5 ms."""
    stems = [pathlib.Path(model).stem for model in models]
    known = {f"{(stem if stems.count(stem) == 1 else model) if model else 'katessel'} {mode}": ours(tool, mode, model, thresholds)
             for model, stem in zip(models or (None,), stems or (None,)) for mode in ("offline", "live")}
    known |= {
        "praat ac": praat("ac", step), "praat cc": praat("cc", step),
        "aubio yinfft": aubio("yinfft", (None, 0.6, 0.45), rate, step), "aubio yinfast": aubio("yinfast", (None,), rate, step),
        "sptk rapt": sptk(0, "-T", (0.0, -0.25, -0.5), rate, step), "sptk swipe": sptk(1, "-t", (0.3, 0.2, 0.4), rate, step),
    }
    names = only.split(",") if only else list(known)
    known["aubio yin"] = aubio("yin", (None,), rate, step)  # yinfast gives the same in a tenth of the time
    if "ours" in names:
        names = [name for name in known if known[name].ours] + [name for name in names if name != "ours"]
    for name in names:
        if name not in known:
            fail("--only", f"some of ours, {', '.join(known)}", name)
    missing = [p for p in ("praat", "aubiopitch", SPTK) if shutil.which(p) is None]
    if missing and not all(known[name].ours for name in names):
        fail("other trackers", "praat, aubio-tools and sptk installed", f"no {', '.join(missing)}")
    return {name: known[name] for name in names}
