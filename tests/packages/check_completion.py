"""check_completion.py PACKAGES: bash and fish, with the packaged completions, complete every option, command and choice of the packaged tool; zsh some."""
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


def bash(*words):
    return run("bash", "-c", COMPLETE, "bash", root / "usr/share/bash-completion/completions/katessel", "katessel", *words, cwd=folder).split()


def fish(*words):
    """Of the words offered, each before its explanation."""
    lines = run("fish", "--no-config", "-c", "source $argv[1]; complete -C $argv[2]",
                root / "usr/share/fish/vendor_completions.d/katessel.fish", " ".join(("katessel", *words)), cwd=folder)
    return [line.split("\t")[0] for line in lines.splitlines()]


def zsh(typed):
    """The arguments that typing these keys and pressing return gives the tool."""
    begin = (f"fpath=({root}/usr/share/zsh/vendor-completions $fpath); PROMPT=; autoload compinit; compinit -u -D\n"
             "katessel() { print -r -- \"<$*>\"; exit }\n")
    done = subprocess.run(["script", "-qec", "zsh -f -i", "/dev/null"], cwd=folder, input=(begin + typed + "\n").encode(),
                          stdout=subprocess.PIPE, timeout=60, env={**os.environ, "TERM": "dumb"}).stdout.decode()
    return re.findall(r"^<(.*)>", done, re.MULTILINE)[-1].rstrip()


def expect(words, expected, found):
    global count
    count += len(expected)
    missing = sorted(set(expected) - set(found))
    if missing:
        bad.append(f"after katessel {' '.join(words)}: {', '.join(missing)} not offered, only {found}")


def check(words, offered):
    help_text = run(tool, *words, "--help", env=environment)
    options = [name for names in re.findall(r"^  (-\S+)", help_text, re.MULTILINE) for name in names.split(",")]
    if offered is fish:  # which has short options after one hyphen, long ones after two
        expect([*words, "--"], [name for name in options if name[1] == "-"], offered(*words, "--"))
        options = [name for name in options if name[1] != "-"]
    expect([*words, "-"], options, offered(*words, "-"))
    for name, choices in re.findall(r"^  (?:-\w,)?(--\S+) [A-Z]+:\{(\S+)\}", help_text, re.MULTILINE):
        expect([*words, name], choices.split(","), offered(*words, name, ""))
    commands = re.findall(r"^  ([a-z]+)  ", help_text.partition("\nSubcommands:\n")[2].split("\n\n")[0], re.MULTILINE)
    if commands:
        expect(words, commands, offered(*words, ""))
    else:
        expect([*words, "FILE"], ["song.wav"], offered(*words, "so"))
    for command in commands:
        check([*words, command], offered)


with tempfile.TemporaryDirectory() as scratch:
    root = pathlib.Path(scratch)
    for deb in packages.glob("*.deb"):
        run("dpkg-deb", "-x", str(deb), scratch)
    folder = root / "folder"
    folder.mkdir()
    (folder / "song.wav").touch()
    library = next((root / "usr/lib").rglob("libKaTesselLib.so.1"))
    tool, environment = root / "usr/bin/katessel", {**os.environ, "LD_LIBRARY_PATH": str(library.parent)}
    for offered in (bash, fish):
        check([], offered)
        expect(["help"], ["track"], offered("help", "tr"))
        expect(["track", "--model"], ["song.wav"], offered("track", "--model", "s"))
        expect(["track", "-r"], ["song.wav"], offered("track", "-r", "so"))  # a flag has no value of its own
        for name, what in {"--start": "a number", "--shard": "a shard", "--raw": "a form of sound"}.items():
            if offered("track", name, "s"):
                bad.append(f"{offered.__name__} offers something for {what}")
    for typed, expected in {"trac\t--form\tpitcht\tso\t": "track --format pitchtier song.wav", "mod\tveri\tso\t": "model verify song.wav",
                            "track --shard so\t": "track --shard so", "track --mode li\t": "track --mode live", "hel\tsyn\t": "help synth",
                            "track --model so\t": "track --model song.wav"}.items():
        found = zsh("katessel " + typed)
        count += 1
        if found != expected:
            bad.append(f"zsh makes {found!r} of {typed!r}, not {expected!r}")

print(f"{count} words", *bad, sep="\n")
sys.exit(1 if bad or count < 80 else 0)
