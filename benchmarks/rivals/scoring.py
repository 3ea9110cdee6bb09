"""Scores of tracks by `katessel eval`, and tables of them. Part of the programs beside it."""
import json
import subprocess


def write_tracks(folder, tracks, shift=0.0):
    """A file for each of {recording's path: rows}, `shift` seconds earlier, as `katessel eval --tracks` takes them."""
    for name, rows in tracks.items():
        path = (folder / name).with_suffix(".csv")
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text("time,frequency\n" + "".join(f"{row[0] - shift:.6f},{row[1]:.4f}\n" for row in rows))


def score(tool, references, folder):
    """The figures of each folder of recordings, and of "all"."""
    report = folder / "scores.json"
    subprocess.run([tool, "eval", "--ref", references, "--tracks", folder, "--json", report], check=True,
                   stdout=subprocess.DEVNULL)
    return {group["group"]: group for group in json.loads(report.read_text())}


def cell(value, digits):
    return "" if value is None else f"{value:.{digits}f}"


def markdown(header, rows):
    lines = [header, ["---"] * len(header), *rows]
    return "".join("| " + " | ".join(line) + " |\n" for line in lines)
