"""The comments of headers and docstrings, as they stand in the code, in the form that Doxygen and Sphinx read.

Both explain arguments in rows, "name  what it is", and show code by indenting it.
comments.py HEADER: the header for Doxygen, on standard output.
"""
import re
import sys

ROW = re.compile(r"(\w+(?:, \w+)*) {2,}(\S.*)")


def arguments(lines, indent, form):
    """Rows, which begin after so many spaces, by form(names, text); lines further in belong to the row above them."""
    result, inside = [], False
    for line in lines:
        row = ROW.fullmatch(line[indent:]) if line[:indent].isspace() or indent == 0 else None
        if row:
            result.append(form(row[1].split(", "), row[2]))
        elif inside and line.startswith(" " * (indent + 3)):
            result[-1] += " " + line.strip()
        else:
            result.append(line)
        inside = row is not None or inside and line.startswith(" " * (indent + 3))
    return result


def docstring(lines):
    """Lines of a docstring as reStructuredText."""
    def form(names, text):
        return "\n".join(f":param {name}: {text}" for name in names)

    result = []
    for line in arguments(lines, 0, form):
        begins = line.startswith("    ") and result and not result[-1]
        if begins and not any(l.startswith("    ") for l in result[-2:-1]):
            result += [".. code-block:: python", ""]
        elif line.startswith(":param") and result and result[-1] and not result[-1].startswith(":param"):
            result.append("")
        elif result and result[-1].startswith(":param") and line and not line.startswith(":param"):
            result.append("")
        result += line.split("\n")
    return result


def header(text):
    """A header whose comments Doxygen takes for documentation."""
    def form(names, explained):
        return f"  \\param {','.join(names)} {explained}"

    def clean(comment):
        return re.sub(r"([<>#@\\])", r"\\\1", comment.replace("..", "…"))  # two dots at a line's end would end the summary

    result, comment, isFirst = [], [], True

    def flush():
        nonlocal isFirst
        if comment:
            result.append("/**" + (" \\file\n" if isFirst else "\n") + "\n".join(arguments(comment, 3, form)) + "\n*/")
            isFirst = False
        comment.clear()

    inBlock = False
    for line in text.splitlines():
        if inBlock:
            body = re.sub(r"^ *\*(?!/)", "", line)
            comment.append(clean(body.replace("*/", "")))
            inBlock = "*/" not in line
            if not inBlock:
                flush()
        elif re.match(r" */\*(?!.*\*/ *\S)", line):
            inBlock = "*/" not in line
            comment.append(clean(re.sub(r"^ */\*|\*/", "", line)))
            if not inBlock:
                flush()
        elif re.match(r" *//", line):
            comment.append(clean(re.sub(r"^ *//", "", line)))
        else:
            flush()
            if line.startswith("}"):  # what a comment behind it repeats is the name of what ends there
                line = line.partition("//")[0]
            line = re.sub(r"/\*(.*)\*/$", lambda m: "/**<" + clean(m[1]) + "*/", line)
            result.append(re.sub(r"(?<=\S)  +// (.*)$|(?<=[;,{]) // (.*)$", lambda m: " ///< " + clean(m[1] or m[2]), line))
    flush()
    return "\n".join(result) + "\n"


if __name__ == "__main__":
    with open(sys.argv[1], encoding="utf-8") as file:
        sys.stdout.write(header(file.read()))
