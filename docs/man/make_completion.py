#!/usr/bin/env python3
"""make_completion.py TOOL bash|zsh|fish: completion of the command line, made from the tool's own help, on standard output.

All three find the command among the words before, then offer its options, the choices of an option's value, or files.
"""
import sys

import toolhelp

BASH = """\
# Completion of katessel for bash.
_katessel()
{{
    local cur prev words cword
    _init_completion || return
    local command="" word offered
    for word in "${{words[@]:1:cword-1}}"; do
        case "$command $word" in
            {commands}) command+=" $word" ;;
        esac
    done
    case "$command $prev" in
{values}
    esac
    case "$command" in
{offered}
    esac
    if [[ $cur == -* || $offered != *--* || $offered == *" ."* ]]; then
        COMPREPLY=($(compgen -W "${{offered% .}}" -- "$cur"))
    else
        _filedir
    fi
}} &&
    complete -F _katessel katessel
"""

ZSH = """\
#compdef katessel
# Completion of katessel for zsh.
_katessel()
{{
    local command="" word
    for word in ${{words[2,CURRENT-1]}}; do
        case "$command $word" in
            ({commands}) command+=" $word" ;;
        esac
    done
    case "$command" in
{cases}
    esac
}}
_katessel "$@"
"""

FISH = """\
# Completion of katessel for fish.
function __katessel_command
    set -l command ""
    for word in (commandline -opc)[2..]
        switch "$command $word"
            case {commands}
                set command "$command $word"
        end
    end
    echo "$command"
end
complete -c katessel -f
"""


def place(command: toolhelp.Command) -> str:
    """The command as the words before, each with a blank in front."""
    return "".join(" " + word for word in command.words)


def takes_file(entry: toolhelp.Entry) -> bool:
    return entry.value == "FILE" and not entry.choices


def summary(text: str) -> str:
    """The beginning of an explanation, as much as a menu has room for."""
    return text.split("; ")[0].split(" (")[0]


def below(command: toolhelp.Command) -> list[tuple[str, str]]:
    """Name and explanation of the commands that may follow."""
    found = [(each.words[-1], summary(each.title)) for each in command.commands]
    return found if command.words else [*found, ("help", "Say what a command does and takes")]


def quoted(text: str) -> str:
    """For bash and zsh."""
    return "'" + text.replace("'", "'\\''") + "'"


def bash_value(command: toolhelp.Command, option: toolhelp.Entry) -> str:
    pattern = "|".join(f'"{place(command)} {name}"' for name in option.names)
    if option.choices:
        action = f'COMPREPLY=($(compgen -W "{" ".join(option.choices)}" -- "$cur"))'
    else:
        action = "_filedir" if takes_file(option) else ":"  # a number or a word
    return f"        {pattern}) {action}; return ;;"


def bash(every: list[toolhelp.Command]) -> str:
    values = [bash_value(c, o) for c in every for o in c.options if o.value]
    offered = []
    for command in every:
        words = [name for option in command.options for name in option.names]
        words += [name for name, _ in below(command)] if command.commands else []
        mark = " ." if command.commands else ""  # a command comes here, no file
        offered.append(f'        "{place(command)}") offered="{" ".join(words)}{mark}" ;;')
    return BASH.format(commands="|".join(f'"{place(c)}"' for c in every if c.words), values="\n".join(values),
                       offered="\n".join(offered))


def zsh_option(option: toolhelp.Entry) -> list[str]:
    """What _arguments takes: "(-o --output)-o[explanation]:value:action", for each name."""
    value = ""
    if option.value:
        action = f"({' '.join(option.choices)})" if option.choices else "_files" if takes_file(option) else " "
        value = f":{option.value.lower()}:{action}"
    others = f"({' '.join(option.names)})" if len(option.names) > 1 else ""
    text = summary(option.text).replace("[", "\\[").replace("]", "\\]")
    return [quoted(f"{others}{name}[{text}]{value}") for name in option.names]


def zsh(every: list[toolhelp.Command]) -> str:
    cases = []
    for command in every:
        names = [quoted(f"{name}:{text}") for name, text in below(command)] if command.commands else []
        words = [w for option in command.options for w in zsh_option(option)]
        lines = [f"local -a below=({' '.join(names)})", "_describe command below"] if names else []
        # A command above another takes no files; its options are offered with it.
        lines.append(" ".join(["_arguments -S", *words, "'*:: :'" if names else "'*:file:_files'"]))
        cases.append(f'        ("{place(command)}")\n            ' + "\n            ".join(lines) + " ;;")
    return ZSH.format(commands="|".join(f'"{place(c)}"' for c in every if c.words), cases="\n".join(cases))


def fish_quoted(text: str) -> str:
    return "'" + text.replace("\\", "\\\\").replace("'", "\\'") + "'"


def fish_option(option: toolhelp.Entry) -> str:
    names = [f"-l {n[2:]}" if n.startswith("--") else f"-s {n[1:]}" for n in option.names]
    if option.choices:
        names.append(f"-x -a '{' '.join(option.choices)}'")
    elif option.value:
        names.append("-r -F" if takes_file(option) else "-x")
    return " ".join([*names, "-d " + fish_quoted(summary(option.text))])


def fish(every: list[toolhelp.Command]) -> str:
    lines = []
    for command in every:
        here = f"complete -c katessel -n 'test (__katessel_command) = \"{place(command)}\"'"
        if command.commands:
            lines += [f"{here} -a {name} -d {fish_quoted(text)}" for name, text in below(command)]
        lines += [f"{here} {fish_option(option)}" for option in command.options]
        lines += [f"{here} -F"] if not command.commands else []
    return FISH.format(commands=" ".join(f"'{place(c)}'" for c in every if c.words)) + "\n".join(lines) + "\n"


def main() -> None:
    tool, shell = sys.argv[1:]
    print({"bash": bash, "zsh": zsh, "fish": fish}[shell](list(toolhelp.read(tool).each())), end="")


if __name__ == "__main__":
    main()
