"""stage.py SOURCE TOOL FOLDER: the pages of this tree as Sphinx takes them, in FOLDER.

Every page in Markdown comes along, README.md as the first, with the contents that docs/README.md lists; files that pages link to
become pages of code, folders lists of their files. A page of the tool's own help and one for the references in C, C++ and Python
are added.
"""
import pathlib
import re
import shutil
import subprocess
import sys

source, tool, folder = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2], pathlib.Path(sys.argv[3])
LANGUAGES = {".c": "c", ".cpp": "cpp", ".h": "cpp", ".hpp": "cpp", ".py": "python", ".sh": "bash"}
ROOMS = ("docs", "examples", "training")
staged, waiting = {}, []  # from a file or folder of the tree to its page; those whose page is not written yet


def page_of(path):
    """The page, without its ending, that a file or folder is shown on."""
    if path.is_dir() and (path / "README.md").exists():
        path = path / "README.md"
    if path not in staged:
        name = str(path.relative_to(source))
        if path.suffix == ".md":
            name = {"README.md": "index", "docs/README.md": "documentation"}.get(name, name.removeprefix("docs/")[:-3])
            name = name.replace("/README", "").replace("/", "-").lower()
        else:
            name = "source/" + name.replace("/", "-").replace(".", "-")
        staged[path] = name
        waiting.append(path)
    return staged[path]


def link_from(page, target):
    """What a link of the page becomes."""
    place, hash_sign, anchor = target.partition("#")
    if re.match(r"\w+:", target) or not place:
        return target
    path = (page.parent / place).resolve()
    if not path.exists():
        sys.exit(f"broken link: {page}: expected a file of this tree, found {target}")
    if path.suffix == ".png":
        (folder / "images").mkdir(exist_ok=True)
        shutil.copy(path, folder / "images")
        return f"/images/{path.name}"
    up = "../" * page_of(page).count("/")
    return f"{up}{page_of(path)}.md{hash_sign}{anchor}"


def markdown(page):
    """A page with its links turned; code stays as it is."""
    pieces = re.split(r"(^```.*?^```|`[^`]*`)", page.read_text(), flags=re.M | re.S)
    return "".join(piece if piece.startswith("`") else
                   re.sub(r"\]\(([^)\s]+)\)", lambda match: f"]({link_from(page, match[1])})", piece) for piece in pieces)


def code(path):
    return f"# {path.relative_to(source)}\n\n`````{LANGUAGES.get(path.suffix, 'text')}\n{path.read_text().strip()}\n`````\n"


def listing(path):
    files = sorted(each for each in path.iterdir() if each.suffix in (*LANGUAGES, ".md") or each.is_dir() and any(each.glob("*.*")))
    rows = [f"- [{each.name}](/{page_of(each)}.md)" for each in files if each.is_dir() or each.stat().st_size > 0]
    return f"# {path.relative_to(source)}\n\n" + "\n".join(rows) + "\n"


def contents():
    """The lists of docs/README.md, each under its name."""
    text = (source / "docs/README.md").read_text()
    for name, rows in re.findall(r"^\*\*(.*?)\*\*\n\n((?:[- ] ?.*\n)+)", text, re.M):
        targets = [(source / "docs" / target.partition("#")[0]).resolve() for target in re.findall(r"\]\(([^)]+)\)", rows)]
        yield name, [page_of(target) for target in dict.fromkeys(targets) if target.suffix == ".md"]
    yield "Reference", ["commands", "python", "headers"]
    yield "More", ["documentation", page_of(source / "CHANGELOG.md")]


def toctrees():
    for name, pages in contents():
        yield f"```{{toctree}}\n:caption: {name}\n:hidden:\n:maxdepth: 2\n\n" + "\n".join(pages) + "\n```\n"


def help_of(*words):
    return subprocess.run([tool, *words, "--help"], check=True, stdout=subprocess.PIPE, text=True).stdout


def commands():
    text = "# The tool\n\n"
    names = re.findall(r"^  ([a-z]+)  ", help_of().partition("\nSubcommands:\n")[2], re.M)
    for words in [[], *([name] for name in names)]:
        text += f"## {' '.join(['katessel', *words])}\n\n```text\n{help_of(*words).strip()}\n```\n\n"
    return text


def headers():
    text = "# C and C++\n\nEvery header, with what it is for, and [all names](reference/index.html):\n\n"
    for path in sorted((source / "include/katessel").iterdir(), key=lambda path: (path.suffix, path.name)):
        comment = re.match(r"(?:/\*\s*\n|//)(.*?)(?:\n \*/|\n[^/ ])", path.read_text(), re.S)
        first = re.sub(r"\s*\n *(\*|//) ?", " ", comment[1]) if comment else ""
        first = re.split(r"(?<=[a-z0-9])[.:](?= )", first.strip().removeprefix("* "))[0].removeprefix(path.name + " - ")
        name = path.name.replace("_", "__").replace(".", "_8")
        text += f'- <a href="reference/{name}.html"><code>{path.name}</code></a> {first.strip()}\n'
    return text.replace("[all names](reference/index.html)", '<a href="reference/index.html">all names</a>')


folder.mkdir(parents=True)
for name, text in (("commands", commands()), ("headers", headers()),
                   ("python", "# Python\n\n```{eval-rst}\n.. automodule:: katessel\n   :members:\n```\n")):
    (folder / f"{name}.md").write_text(text)
page_of(source / "README.md")
trees = "\n".join(toctrees())
while waiting:
    path = waiting.pop()
    made = listing(path) if path.is_dir() else markdown(path) if path.suffix == ".md" else code(path)
    page = folder / f"{staged[path]}.md"
    page.parent.mkdir(parents=True, exist_ok=True)
    isListed = staged[path] == "index" or f"\n{staged[path]}\n" in trees
    page.write_text(("" if isListed else "---\norphan: true\n---\n\n") + made + (trees if staged[path] == "index" else ""))
print(len(staged) + 3, "pages")
