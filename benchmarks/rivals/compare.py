#!/usr/bin/python3
"""Runs the pitch trackers that Debian packages, and ours, on the same recordings, one process and one core each.

    compare.py FOLDER [--tool build/release/apps/katessel] [--out out/rivals] [--only NAME,..] [--markdown FILE]

FOLDER holds recordings with .f0 files beside them, as `katessel eval` takes them. Every tracker hears the same 24 kHz
sound, searches from 50 to 1100 Hz every 5 ms where it can be told, and is otherwise left as it comes. Its tracks are scored by
`katessel eval` after being shifted by the whole-folder delay that suits them best, so that nobody loses to a convention.
Speed is the processor time of all its processes, starts included. Needs praat, aubio-tools, sptk and sox.
"""
import argparse
import array
import json
import pathlib
import resource
import shutil
import subprocess
import sys
import wave

RATE, HOP, LOW, HIGH = 24000, 120, 50, 1100
SPTK = "/usr/libexec/sptk/bin/pitch"
PRAAT_SCRIPT = """form Pitch
    sentence Sound
    sentence Method
endform
Read from file: sound$
if method$ = "ac"
    To Pitch (ac): 0.005, 50, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 1100
else
    To Pitch (cc): 0.005, 50, 15, "no", 0.03, 0.45, 0.01, 0.35, 0.14, 1100
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


def run(command, **options):
    """Runs on the first core; returns standard output and the processor seconds that it took."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    done = subprocess.run(["taskset", "-c", "0", *command], capture_output=True, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: status {done.returncode}\n{done.stderr.decode(errors='replace')}")
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return done.stdout, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def rows_of(text):
    """(time, frequency) of lines of two numbers."""
    for line in text.decode().splitlines():
        fields = line.split()
        if len(fields) >= 2:
            yield float(fields[0]), float(fields[1])


def praat(method):
    def track(sound, work):
        script = work / "pitch.praat"
        script.write_text(PRAAT_SCRIPT)
        out, seconds = run(["praat", "--run", script, sound.resolve(), method])
        return list(rows_of(out)), seconds
    return track


def aubio(method):
    def track(sound, _work):
        out, seconds = run(["aubiopitch", "-i", sound, "-p", method, "-r", str(RATE), "-B", "2048", "-H", str(HOP)])
        return list(rows_of(out)), seconds
    return track


def sptk(algorithm):
    def track(sound, work):
        with wave.open(str(sound)) as recording:
            samples = array.array("h", recording.readframes(recording.getnframes()))
        raw = work / "sound.raw"
        raw.write_bytes(array.array("f", samples).tobytes())
        out, seconds = run([SPTK, "-a", str(algorithm), "-s", str(RATE / 1000), "-p", str(HOP), "-L", str(LOW), "-H",
                            str(HIGH), "-o", "1", raw])
        return [(i * HOP / RATE, f0) for i, f0 in enumerate(array.array("f", out))], seconds
    return track


def ours(tool, mode):
    def track(sound, _work):
        out, seconds = run([tool, "track", "--mode", mode, sound])
        return [tuple(map(float, line.split(",")[:2])) for line in out.decode().splitlines()[1:]], seconds
    return track


def write_tracks(tracks, folder, shift):
    for name, rows in tracks.items():
        path = (folder / name).with_suffix(".csv")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("time,frequency\n" + "".join(f"{t - shift:.6f},{f:.4f}\n" for t, f in rows))


def score(tool, references, folder):
    report = folder / "scores.json"
    subprocess.run([tool, "eval", "--ref", references, "--tracks", folder, "--json", report], check=True,
                   stdout=subprocess.DEVNULL)
    return {group["group"]: group for group in json.loads(report.read_text())}


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("folder", type=pathlib.Path)
    arguments.add_argument("--tool", default="build/release/apps/katessel")
    arguments.add_argument("--out", type=pathlib.Path, default=pathlib.Path("out/rivals"))
    arguments.add_argument("--only", default="")
    arguments.add_argument("--markdown", type=pathlib.Path)
    chosen = arguments.parse_args()
    trackers = {
        "katessel offline": ours(chosen.tool, "offline"), "katessel live": ours(chosen.tool, "live"),
        "praat ac": praat("ac"), "praat cc": praat("cc"),
        "aubio yinfft": aubio("yinfft"), "aubio yinfast": aubio("yinfast"),
        "sptk rapt": sptk(0), "sptk swipe": sptk(1),
    }
    if chosen.only:
        trackers = {name: trackers[name] for name in chosen.only.split(",")}
    missing = [p for p in ("praat", "aubiopitch", "sox", "taskset", SPTK) if shutil.which(p) is None]
    if missing:
        sys.exit(f"compare.py: missing {', '.join(missing)}: apt-get install praat aubio-tools sptk sox util-linux")
    clips = [p for p in sorted(chosen.folder.rglob("*")) if p.suffix not in (".f0", ".csv") and
             p.with_suffix(".f0").is_file()]
    if not clips:
        sys.exit(f"compare.py: {chosen.folder}: expected recordings with .f0 files beside them, found none")

    work = chosen.out / "work"
    sounds, minutes = {}, 0.0
    for clip in clips:
        name = clip.relative_to(chosen.folder)
        sound = (work / "sounds" / name).with_suffix(".wav")
        sound.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["sox", clip, "-r", str(RATE), "-c", "1", "-b", "16", sound], check=True)
        with wave.open(str(sound)) as recording:
            minutes += recording.getnframes() / RATE / 60.0
        sounds[name] = sound

    table = []
    for tracker, track in trackers.items():
        tracks, seconds = {}, 0.0
        for name, sound in sounds.items():
            tracks[name], spent = track(sound, work)
            seconds += spent
        folder = chosen.out / tracker.replace(" ", "-")
        write_tracks(tracks, folder, 0.0)
        late = score(chosen.tool, chosen.folder, folder)["all"]["offset_ms"] or 0.0
        if not tracker.startswith("katessel"):
            write_tracks(tracks, folder, late / 1000.0)
        table.append((tracker, late, minutes * 60.0 / seconds, score(chosen.tool, chosen.folder, folder)))
        print(f"{tracker}: done", file=sys.stderr)

    groups = [g for g in table[0][3] if g != "all"]
    lines = ["| tracker | × real time | late [ms] | " + " | ".join(
        f"{g}: F1 | RPA 50 | cents | recall | false alarm" for g in groups) + " |"]
    lines.append("|---" * (3 + 5 * len(groups)) + "|")
    for tracker, late, speed, scores in table:
        cells = [tracker, f"{speed:.0f}", f"{late:.1f}"]
        for group in groups:
            for key, digits in (("f1", 3), ("raw_pitch_accuracy_50", 3), ("median_cents", 1), ("voicing_recall", 3),
                                ("voicing_false_alarm", 3)):
                value = scores[group][key]
                cells.append("" if value is None else f"{value:.{digits}f}")
        lines.append("| " + " | ".join(cells) + " |")
    text = "\n".join(lines) + "\n"
    print(text, end="")
    if chosen.markdown:
        chosen.markdown.write_text(text)


if __name__ == "__main__":
    main()
