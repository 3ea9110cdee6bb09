#!/usr/bin/env python3
"""make_pages.py TOOL VERSION FOLDER: the manual pages, one for the tool and one for each command, into FOLDER.

The tool's own help gives synopsis, description and options; NAME.roff in this folder, where there is one, what help
does not say: examples, files; every.roff ends each page.
"""
import pathlib
import re
import sys

import toolhelp

HERE = pathlib.Path(__file__).resolve().parent
DATE = "2026-11-21"  # of the last change of what is written by hand; pages made twice are the same


def escaped(text: str) -> str:
    text = text.replace("\\", "\\e").replace("-", "\\-")
    text = re.sub(r"`([^`]*)`", r"\\fB\1\\fP", text)
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.MULTILINE)


def bold(text: str) -> str:
    return f"\\fB{escaped(text)}\\fP"


def italic(text: str) -> str:
    return f"\\fI{escaped(text)}\\fP"


def sentence(text: str) -> str:
    return text if not text or text.endswith(".") else text + "."


def remarks(entry: toolhelp.Entry) -> list[str]:
    """What the help packs into the shape of the value."""
    found = []
    if " - " in entry.limits:
        found.append("From {} to {}.".format(*entry.limits.split(" - ")))
    if entry.default:
        found.append(f"Default: {entry.default}.")
    if entry.required:
        found.append("Required.")
    if entry.excludes:
        found.append(f"Not together with {entry.excludes}.")
    return found


def paragraph(entry: toolhelp.Entry) -> str:
    names = ", ".join(bold(name) for name in entry.names)
    value = "|".join(entry.choices) or entry.value if entry.names[0].startswith("-") else ""
    text = " ".join([sentence(entry.text), *remarks(entry)])
    return f".TP\n{names}{' ' + italic(value) if value else ''}\n{escaped(text)}\n"


def listed(title: str, entries: list[toolhelp.Entry]) -> str:
    return f".{title}\n" + "".join(paragraph(entry) for entry in entries) if entries else ""


def about(text: str) -> str:
    return escaped(re.sub(r"\n\n+", "\n\n", text)).replace("\n\n", "\n.PP\n") + "\n"


def synopsis(command: toolhelp.Command) -> str:
    words, rest = ["katessel", *command.words], command.usage.split()
    return f"{bold(' '.join(words))} {escaped(' '.join(rest[len(words):]))}\n"


def by_hand(name: str) -> str:
    file = HERE / f"{name}.roff"
    return file.read_text() if file.exists() else ""


def below(command: toolhelp.Command) -> str:
    """Commands of a command stand on its page; those of the tool have pages of their own."""
    if not command.words:
        rows = [f".TP\n.BR {'katessel-' + c.words[0]} (1)\n{escaped(sentence(c.title))}\n" for c in command.commands]
        return ".SH COMMANDS\n" + "".join(rows)
    text = ""
    for inner in command.commands:
        text += f".SH {inner.words[-1].upper()}\n{synopsis(inner)}.PP\n{escaped(sentence(inner.title))}\n"
        text += (".PP\n" + about(inner.about) if inner.about else "")
        text += "".join(paragraph(entry) for entry in inner.arguments + inner.options)
    return text


def page(command: toolhelp.Command, version: str) -> str:
    name = "-".join(["katessel", *command.words])
    title = (command.title or "pitch of a voice or an instrument, every 5 ms").rstrip(".")
    title = title[0].lower() + title[1:]
    return (f'.TH {name.upper()} 1 {DATE} "KaTessel {version}" "KaTessel"\n'
            f".SH NAME\n{escaped(name)} \\- {escaped(title)}\n"
            f".SH SYNOPSIS\n{synopsis(command)}"
            + (f".SH DESCRIPTION\n{about(command.about)}" if command.about else "")
            + listed("SH ARGUMENTS", command.arguments) + listed("SH OPTIONS", command.options)
            + below(command) + by_hand(name) + by_hand("every"))


def main() -> None:
    tool, version, folder = sys.argv[1:]
    whole = toolhelp.read(tool)
    for command in [whole, *whole.commands]:
        name = "-".join(["katessel", *command.words])
        (pathlib.Path(folder) / f"{name}.1").write_text(page(command, version))


if __name__ == "__main__":
    main()
