"""check_pages.py PACKAGES: every command and option of the packaged tool stands in its manual page, and man likes all pages."""
import gzip
import os
import pathlib
import re
import subprocess
import sys
import tempfile

packages = pathlib.Path(sys.argv[1])
bad = []


def run(*command, **more):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, **more).stdout.decode()


def shown(page):
    """The page as a reader sees it, in one line; what man warns of is a fault."""
    done = subprocess.run(["man", "--warnings", "--no-hyphenation", "--no-justification", "-l", page], check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                          env={**os.environ, "LC_ALL": "C.UTF-8", "MANWIDTH": "400", "MAN_KEEP_FORMATTING": "", "PAGER": "cat"})
    if done.stderr:
        bad.append(f"{page.name}: man says {done.stderr.decode().strip()}")
    return re.sub(r"\s+", " ", done.stdout.decode().replace("\u2010", "-").replace("\u2212", "-"))


def check(tool, environment, pages, words):
    """`words` and the commands below, read from the help without the code that made the pages."""
    help_text = run(tool, *words, "--help", env=environment)
    name = "-".join(["katessel", *words[:1]])
    text = pages[name]
    # The end of an option's line, or of the next where the explanation stands there, must be in the page.
    for names, explanation in re.findall(r"^  (-\S+)([^\n]*(?:\n {30}[^\n]*)?)", help_text, re.MULTILINE):
        if ", ".join(names.split(",")) not in text:
            bad.append(f"{name}: {names} of {' '.join(words)} is missing")
        last = re.split(r"\s{2,}", explanation)[-1][-25:].rstrip(".")
        if last not in text:
            bad.append(f"{name}: the explanation of {names}, \"..{last}\", is missing")
    count = len(re.findall(r"^  -", help_text, re.MULTILINE))
    commands = help_text.split("\nSubcommands:\n")[1].split("\n\n")[0] if "\nSubcommands:\n" in help_text else ""
    for command in re.findall(r"^  (\w+)", commands, re.MULTILINE):
        if command not in text and command.upper() not in text:
            bad.append(f"{name}: command {command} is missing")
        count += check(tool, environment, pages, [*words, command])
    return count


with tempfile.TemporaryDirectory() as scratch:
    root = pathlib.Path(scratch)
    for deb in packages.glob("*.deb"):
        run("dpkg-deb", "-x", str(deb), scratch)
    library = next((root / "usr/lib").rglob("libKaTesselLib.so.1"))
    pages = {}
    for archive in (root / "usr/share/man/man1").iterdir():
        page = root / archive.stem
        page.write_bytes(gzip.decompress(archive.read_bytes()))
        pages[page.stem] = shown(page)
    count = check(root / "usr/bin/katessel", {**os.environ, "LD_LIBRARY_PATH": str(library.parent)}, pages, [])

print(f"{len(pages)} pages, {count} options", *bad, sep="\n")
sys.exit(1 if bad or count < 50 else 0)
