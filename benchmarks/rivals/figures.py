"""All figures of a tracker over the mixtures. Part of conditions.py."""
import concurrent.futures
import json
import pathlib
import sys
import tempfile
import zlib

import mixtures
import recordings
import scoring
import trackers

LEVELS = [f"{low} to {high} dB" for low, high in mixtures.NOISE_LEVELS]


def listen(tracker, threshold, sounds, folder, jobs):
    """{path below the folder: rows} of every sound."""
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        rows = pool.map(lambda path: tracker.track(folder / path, threshold), sounds)
        return dict(zip(sounds, rows))


def flips(tracks):
    """Frames whose voicing differs from both neighbours', a second."""
    count = frames = 0
    for rows in tracks.values():
        voiced = [row[1] > 0 for row in rows]
        count += sum(a != b and b != c for a, b, c in zip(voiced, voiced[1:], voiced[2:]))
        frames += len(voiced)
    return count / max(frames, 1) * recordings.RATE / recordings.HOP


def part(tracks, condition):
    return {path: rows for path, rows in tracks.items() if path.is_relative_to(condition)}


def measure(tracker, threshold, sounds, folder, work, tool, jobs):
    """All figures of a tracker at a threshold."""
    tracks = listen(tracker, threshold, sounds, folder, jobs)
    clean, late = part(tracks, "clean"), 0.0
    if not tracker.ours:
        scoring.write_tracks(work, clean)
        late = (scoring.score(tool, folder / "clean", work / "clean")["all"]["offset_ms"] or 0.0) / 1000
    scoring.write_tracks(work, {path: rows for path, rows in tracks.items() if path.parts[0] != "noise"}, late)
    groups = scoring.score(tool, folder, work)
    groups["scene"] = scoring.score(tool, folder / "scene", work / "scene")["all"]
    f1 = {condition: groups[condition]["f1"] or 0.0 for condition in mixtures.CONDITIONS}
    eight = [value for condition, value in f1.items() if condition != "clean"]
    result = {"f1": f1, "mean of eight": sum(eight) / len(eight), "threshold": threshold, "late_ms": 1000 * late,
              "levels": {level: groups[f"scene/{level}"]["f1"] for level in LEVELS if f"scene/{level}" in groups},
              "cents": groups["clean"]["median_cents"], "rpa 10": groups["clean"]["raw_pitch_accuracy_10"],
              "flips": {condition: flips(part(tracks, condition)) for condition in ("clean", "scene")}}
    if tracker.ours:  # the pitch of all voiced frames, reported or not
        raw = listen(tracker, 0.0, list(clean), folder, jobs)
        scoring.write_tracks(work / "raw", raw)
        result["rpa 10"] = scoring.score(tool, folder / "clean", work / "raw/clean")["all"]["raw_pitch_accuracy_10"]
    shares = {path: sum(row[1] > 0 for row in rows) / max(len(rows), 1) for path, rows in part(tracks, "noise").items()}
    for kind in mixtures.KINDS_OF_NOISE:
        called = [share for path, share in shares.items() if path.is_relative_to(f"noise/{kind}")]
        result[f"noise {kind}"] = sum(called) / len(called) if called else None
    result["noises"] = {path.stem: share for path, share in sorted(shares.items(), key=lambda entry: -entry[1])}
    return result


def code_mark():
    """Of everything that the kept figures depend on beside the sounds."""
    return zlib.crc32("".join(pathlib.Path(path).read_text() for path in
                              (__file__, scoring.__file__, trackers.__file__)).encode())


def best(name, tracker, sounds, folder, tool, jobs):
    """At the threshold with the best mean; the others' figures are kept beside the mixtures."""
    results = []
    for threshold in tracker.thresholds:
        told = "its own" if threshold is None else threshold
        kept = folder.parent / f"{name} {told} {code_mark():08x}.json"
        if tracker.ours or not kept.is_file():
            with tempfile.TemporaryDirectory() as work:
                figures = measure(tracker, threshold, sounds, folder, pathlib.Path(work), tool, jobs)
            if not tracker.ours:
                kept.write_text(json.dumps(figures))
        else:
            figures = json.loads(kept.read_text())
        results.append(figures)
        print(f"{name}, threshold {told}: {figures['mean of eight']:.3f}", file=sys.stderr)
    return max(results, key=lambda figures: figures["mean of eight"])
