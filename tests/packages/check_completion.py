"""check_completion.py PACKAGES: bash, with the packaged completion, completes every option, command and choice of the packaged tool."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

packages = pathlib.Path(sys.argv[1])
# Completes the words given as arguments as bash-completion would, and prints what it offers, one a line.
COMPLETE = """
source /usr/share/bash-completion/bash_completion
source "$1"
shift
COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*"
COMP_POINT=${#COMP_LINE}
_katessel
printf '%s\\n' "${COMPREPLY[@]}"
"""
bad = []
count = 0


def run(*command, **more):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, **more).stdout.decode()


def offered(*words):
    return run("bash", "-c", COMPLETE, "bash", script, "katessel", *words, cwd=folder).split()


def expect(words, expected, found):
    global count
    count += len(expected)
    missing = sorted(set(expected) - set(found))
    if missing:
        bad.append(f"after katessel {' '.join(words)}: {', '.join(missing)} not offered, only {found}")


def check(words):
    help_text = run(tool, *words, "--help", env=environment)
    options = [name for names in re.findall(r"^  (-\S+)", help_text, re.MULTILINE) for name in names.split(",")]
    expect([*words, "-"], options, offered(*words, "-"))
    for name, choices in re.findall(r"^  (?:-\w,)?(--\S+) TEXT:\{(\S+)\}", help_text, re.MULTILINE):
        expect([*words, name], choices.split(","), offered(*words, name, ""))
    commands = re.findall(r"^  ([a-z]+)  ", help_text.partition("\nSubcommands:\n")[2].split("\n\n")[0], re.MULTILINE)
    if commands:
        expect(words, commands, offered(*words, ""))
    else:
        expect([*words, "FILE"], ["song.wav"], offered(*words, "so"))
    for command in commands:
        check([*words, command])


with tempfile.TemporaryDirectory() as scratch:
    root = pathlib.Path(scratch)
    for deb in packages.glob("*.deb"):
        run("dpkg-deb", "-x", str(deb), scratch)
    folder = root / "folder"
    folder.mkdir()
    (folder / "song.wav").touch()
    library = next((root / "usr/lib").rglob("libKaTesselLib.so.1"))
    tool, environment = root / "usr/bin/katessel", {**os.environ, "LD_LIBRARY_PATH": str(library.parent)}
    script = str(root / "usr/share/bash-completion/completions/katessel")
    check([])
    expect(["track", "--model"], ["song.wav"], offered("track", "--model", "s"))
    expect(["track", "-r"], ["song.wav"], offered("track", "-r", "so"))  # a flag has no value of its own
    if offered("track", "--start", ""):
        bad.append("something is offered for a number")

print(f"{count} words", *bad, sep="\n")
sys.exit(1 if bad or count < 80 else 0)
