"""What `katessel COMMAND --help` says, taken apart."""
import re
import subprocess
from dataclasses import dataclass, field

TEXT_COLUMN = 30  # where the help's explanations begin


@dataclass
class Entry:
    """An option, an argument or a command."""

    names: list[str]  # without the shape of the value
    value: str = ""  # TEXT, INT, ..; empty for a flag
    choices: list[str] = field(default_factory=list)
    limits: str = ""  # "1 - 1024", or a word such as POSITIVE
    default: str = ""
    required: bool = False
    excludes: str = ""
    text: str = ""


@dataclass
class Command:
    words: list[str]  # empty: the tool itself
    title: str = ""
    usage: str = ""
    about: str = ""
    arguments: list[Entry] = field(default_factory=list)
    options: list[Entry] = field(default_factory=list)
    commands: list["Command"] = field(default_factory=list)

    def each(self):
        """This command and all below it."""
        yield self
        for command in self.commands:
            yield from command.each()


HEAD = re.compile(r"""(?P<names>\S+)
    (?:\s(?P<value>[A-Z]+)(?P<shape>:\{[^}]*\}|:[A-Z]+\sin\s\[[^\]]*\]|:[A-Z]+)?(?:=(?P<default>\S+))?)?
    (?:\s\.\.\.)?(?P<required>\sREQUIRED)?(?:\sExcludes:\s(?P<excludes>.*))?$""", re.VERBOSE)


def entry(head: str, text: str) -> Entry:
    found = HEAD.match(head)
    if not found:
        raise SystemExit(f"help not understood: {head!r}: expected NAMES [VALUE][:LIMITS][=DEFAULT] [REQUIRED] "
                         "[Excludes: NAMES]")
    shape = (found["shape"] or "").removeprefix(":")
    within = re.match(r"[A-Z]+ in \[(.*)\]", shape)
    return Entry(names=found["names"].split(","), value=found["value"] or "",
                 choices=shape.strip("{}").split(",") if shape.startswith("{") else [],
                 limits=within[1] if within else "" if shape.startswith("{") else shape,
                 default=found["default"] or "", required=bool(found["required"]), excludes=found["excludes"] or "",
                 text=text)


def entries(lines: list[str]) -> list[Entry]:
    """Names and explanations; an explanation that finds no room beside its names is on the next line."""
    rows: list[list[str]] = []
    for place, line in enumerate(lines):
        if line.startswith(" " * TEXT_COLUMN):
            rows[-1][1] = line.strip()
        elif place + 1 < len(lines) and lines[place + 1].startswith(" " * TEXT_COLUMN):
            rows.append([line.strip(), ""])
        else:
            rows.append([line[:TEXT_COLUMN].strip(), line[TEXT_COLUMN:].strip()])
    return [entry(*row) for row in rows]


def sections(lines: list[str]) -> dict[str, list[str]]:
    """The blocks that end with an empty line, by their titles; what has none is "about"."""
    found: dict[str, list[str]] = {"about": []}
    title = "about"
    for line in lines:
        if line in ("Positionals:", "Options:", "Subcommands:"):
            title = line[:-1]
            found[title] = []
        elif not line and title != "about":
            title = "about"
        else:
            found[title].append(line)
    return found


def read(tool: str, *words: str, title: str = "") -> Command:
    done = subprocess.run([tool, *words, "--help"], check=True, stdout=subprocess.PIPE)
    lines = [line.rstrip() for line in done.stdout.decode().splitlines()]
    begin = next(i for i, line in enumerate(lines) if line.startswith("Usage: "))
    parts = sections(lines[begin + 1:])
    above = [] if words else lines[:begin]  # a command's first line is its title again
    command = Command(list(words), title, lines[begin].removeprefix("Usage: "),
                      "\n".join(above + parts["about"]).strip(), entries(parts.get("Positionals", [])),
                      entries(parts.get("Options", [])))
    for below in entries(parts.get("Subcommands", [])):
        command.commands.append(read(tool, *words, below.names[0], title=below.text))
    return command
