"""check_blocks.py TOOL SOURCE PAGE..: the blocks of the pages do what they say, and the options that pages name exist.

console  each `$ ` begins a command, which must succeed and print the lines below it, where there are any: `...` stands for
         anything, and numbers may be a hundredth off. Every block has a folder of its own with recordings under the names
         that pages use. What would change the machine, and what belongs to others, has a stand-in.
c        compiles as C89
python   that imports something: runs, where `samples` is an array
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap
import wave

import numpy as np

tool, source = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()
sys.path.insert(0, str(source / "examples"))
from melody import melody  # noqa: E402

MARK = "---- end of a command, status"
# What takes hours, a sound server, a cluster or recordings that are not here: only its name and options are looked at.
NOT_RUN = re.compile(r"benchmarks/|examples/slurm/|sbatch |katessel live|pip |cmake |sudo ")
bad, counts = [], {"console": 0, "c": 0, "python": 0, "lines": 0, "options": 0}


def run(*command, **more):
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False,
                          timeout=300, **more)


def program(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("#!/bin/sh\n" + text)
    path.chmod(0o755)


def furnish(folder):
    """The folder that a block runs in: this tree, the tool as ./dev would build it, and sound."""
    for path in source.iterdir():
        if path.name not in ("build", "out", "dev", ".git"):
            (folder / path.name).symlink_to(path)
    (folder / "dev").write_bytes((source / "dev").read_bytes())
    (folder / "dev").chmod(0o755)
    (folder / "build/install").mkdir(parents=True)
    (folder / "build/install/apps").symlink_to(tool.parent)
    program(folder / "bin/katessel", f'exec "{tool}" "$@"\n')
    program(folder / "bin/ffmpeg", "cat film.mkv\n")
    program(folder / "bin/cmake", "")  # everything is built
    for name in ("song.wav", "other.wav", "corpus/a/song.wav", "data/song.flac"):
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        with wave.open(str(folder / name), "wb") as file:
            file.setparams((1, 2, 44100, 0, "NONE", ""))
            file.writeframes((20000 * melody(44100)).astype("<i2").tobytes())
    (folder / "film.mkv").write_bytes((0.5 * melody(48000)).astype("<f4").tobytes())
    (folder / "FOLDER").symlink_to(source / "examples/audio")
    (folder / "lib").mkdir()
    (folder / "lib/vamp").symlink_to(os.environ["KATESSEL_VAMP_FOLDER"])
    (folder / "my.weights").symlink_to(source / "models/default.weights")


def agree(wanted, found):
    """Whether a line is as the page says."""
    number = r"[-+]?\d+(?:\.\d+)?"
    if re.split(number, wanted) != re.split(number, found):
        return False
    pairs = zip(map(float, re.findall(number, wanted)), map(float, re.findall(number, found)))
    return all(abs(a - b) <= 0.01 * max(abs(a), abs(b)) for a, b in pairs)


def matches(wanted, found):
    """Whether the lines found are those wanted, of which `...` stands for any."""
    if not wanted:
        return not found
    if wanted[0] == "...":
        return any(matches(wanted[1:], found[i:]) for i in range(len(found) + 1))
    return bool(found) and agree(wanted[0], found[0]) and matches(wanted[1:], found[1:])


def check_console(page, block):
    commands = [(command, output.splitlines()) for command, output in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block, re.M)]
    with tempfile.TemporaryDirectory() as scratch:
        folder = pathlib.Path(scratch)
        furnish(folder)
        script = ""
        for command, _ in commands:
            here = ":" if NOT_RUN.search(command.partition("#")[0]) else command.replace("/data", "data")
            script += f"{here}\nprintf '%s %d\\n' '{MARK}' $?\n"
        done = run("bash", "-c", "exec 2>>errors\n" + script, cwd=folder, env={
            **os.environ, "PATH": f"{folder}/bin:{os.environ['PATH']}", "KATESSEL_NO_INSTALL": "1", "PREFIX": str(folder)})
        parts = re.split(re.escape(MARK) + r" (\d+)\n", done.stdout)
        for (command, wanted), printed, status in zip(commands, parts[::2], parts[1::2]):
            counts["console"] += 1
            counts["lines"] += len(wanted)
            found = printed.splitlines()
            if status != "0":
                bad.append(f"{page}: {command}: expected success, found status {status}: {(folder / 'errors').read_text()}")
            elif wanted and not NOT_RUN.search(command) and not matches(wanted, found):
                bad.append("\n".join([f"{page}: {command}: expected", *wanted, "found", *found]))


def check_c(page, block):
    counts["c"] += 1
    done = run("cc", "-std=c89", "-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-I", source / "include", "-x", "c",
               "-", input=block)
    if done.returncode:
        bad.append(f"{page}: expected C89, found\n{done.stderr}")


def check_python(page, block):
    counts["python"] += 1
    with tempfile.TemporaryDirectory() as scratch:
        furnish(pathlib.Path(scratch))
        done = run(sys.executable, "-c", "import numpy\nsamples = numpy.zeros(44100)\n" + block, cwd=scratch)
    if done.returncode:
        bad.append(f"{page}: expected a program, found\n{block}{done.stderr}")


def help_texts():
    """Everything where an option can be known: what ours say of themselves."""
    commands = re.findall(r"^  ([a-z]+)  ", run(tool, "--help").stdout.partition("\nSubcommands:\n")[2], re.M)
    for words in [[], *([command] for command in commands), *(["model", each] for each in ("inspect", "verify", "hash"))]:
        yield run(tool, *words, "--help").stdout
    for pattern in ("dev", "CMakePresets.json", "benchmarks/rivals/*", "training/main.cpp", "training/*.py", "examples/slurm/*.sh",
                    "bindings/python/katessel/__main__.py", "tests/package/*.sh"):
        for path in source.glob(pattern):
            yield path.read_text()


def check_options(page, text):
    """Options in code that is ours."""
    code = re.findall(r"`([^`\n]+)`", text) + re.findall(r"^\$ (.*)$", text, re.M)
    for piece in code:
        for command in re.split(r"[|;#]|&&", piece):
            if re.match(r"\s*(\$|array=|sbatch|ffmpeg|pkg-config|pip|cmake|sudo|find|gnuplot|apt-get|crepe|aubio)", command):
                continue
            for option in re.findall(r"(?<![\w-])--[a-z][\w-]*", command):
                counts["options"] += 1
                if not re.search(re.escape(option) + r"(?![\w-])", known):
                    bad.append(f"{page}: {option}: expected an option of the tool or of a script, found none")


known = "\n".join(help_texts())
CHECKS = {"console": check_console, "c": check_c, "python": check_python}
for name in sys.argv[3:]:
    text = (source / name).read_text()
    check_options(name, text)
    for language, block in re.findall(r"^```(console|c|python)\n(.*?)^```", text, re.M | re.S):
        if language != "python" or block.startswith("import "):
            CHECKS[language](name, textwrap.dedent(block))

print(counts, *bad, sep="\n")
sys.exit(1 if bad or min(counts.values()) < 1 else 0)
