"""check_references.py SOURCE: what the pages point at is there: links and anchors, source files by name, and
C++ and Python fragments, which stand line by line in the examples."""
import pathlib
import re
import sys

source = pathlib.Path(sys.argv[1])
rooms = [path for path in source.iterdir() if path.is_dir() and path.name in (
    "apps", "benchmarks", "bindings", "cmake", "docs", "examples", "fuzz", "include", "recordings", "scripts", "src", "tests",
    "tracking", "training", "web")]
names = {path.name for room in rooms for path in room.rglob("*") if path.is_file()} | {path.name for path in source.iterdir()}
programs = [path for pattern in ("*.py", "*.cpp", "toolkit/*.cpp") for path in (source / "examples").glob(pattern)]
bad, counts = [], {"links": 0, "files": 0, "fragments": 0}


def anchors(text):
    """As GitHub makes them of headings."""
    headings = re.findall(r"^#+ (.*)$", re.sub(r"^```.*?^```", "", text, flags=re.M | re.S), re.M)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def lines(text):
    return [line.strip() for line in text.splitlines()]


def check_links(page, prose):
    for target in re.findall(r"\]\(([^)\s]+)\)", prose):
        counts["links"] += 1
        path, _, anchor = target.partition("#")
        file = page.parent / path if path else page
        if re.match(r"https?:", target):
            continue
        if not file.exists() or source not in file.resolve().parents and file.resolve() != source:
            bad.append(f"{page}: link to {target}: expected a file of this tree, found none")
        elif anchor and anchor not in anchors(file.read_text()):
            bad.append(f"{page}: link to {target}: expected a heading, found {', '.join(sorted(anchors(file.read_text())))}")


def check_files(page, prose):
    """Names of source files in code: a path from the top of the tree or from the page on, or a name that some file has."""
    for name in re.findall(r"`([\w./-]+\.(?:bats|cpp|h|hpp|inc|md|py|roff|sh))`", prose):
        counts["files"] += 1
        if not ((source / name).exists() or (page.parent / name).exists() or "/" not in name and name in names
                or any((room / name).exists() for room in (*rooms, source / "include"))):
            bad.append(f"{page}: {name}: expected a file of this tree, found none")


def check_fragments(page, text):
    for language, fragment in re.findall(r"^```(cpp|python)\n(.*?)^```", text, re.M | re.S):
        if fragment.startswith("import "):
            continue  # a program of its own, which check_blocks.py runs
        counts["fragments"] += 1
        wanted = lines(fragment)
        texts = [lines(path.read_text()) for path in programs if (path.suffix == ".py") == (language == "python")]
        if not any(wanted == found[i : i + len(wanted)] for found in texts for i in range(len(found))):
            bad.append(f"{page}: expected a fragment of an example, found one that is in none:\n{fragment}")


for page in [*source.glob("*.md"), *(page for room in rooms for page in room.rglob("*.md"))]:
    text = page.read_text()
    check_fragments(page, text)
    prose = re.sub(r"^```.*?^```", "", text, flags=re.M | re.S)
    check_links(page, re.sub(r"`[^`]*`", "", prose))
    check_files(page, prose)

print(counts, *bad, sep="\n")
sys.exit(1 if bad or min(counts.values()) < 15 else 0)
