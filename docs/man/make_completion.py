#!/usr/bin/env python3
"""make_completion.py TOOL: completion of the command line for bash, made from the tool's own help, on standard output."""
import sys

import toolhelp

FRAME = """\
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


def place(command: toolhelp.Command) -> str:
    """The command as the words before, each with a blank in front."""
    return "".join(" " + word for word in command.words)


def of_value(command: toolhelp.Command, option: toolhelp.Entry) -> str:
    pattern = "|".join(f'"{place(command)} {name}"' for name in option.names)
    if option.choices:
        action = f'COMPREPLY=($(compgen -W "{" ".join(option.choices)}" -- "$cur"))'
    elif option.value == "TEXT":
        action = "_filedir"
    else:
        action = ":"  # a number
    return f"        {pattern}) {action}; return ;;"


def main() -> None:
    every = list(toolhelp.read(sys.argv[1]).each())
    values = [of_value(c, o) for c in every for o in c.options if o.value]
    offered = []
    for command in every:
        words = [name for option in command.options for name in option.names]
        words += [below.words[-1] for below in command.commands]
        mark = " ." if command.commands else ""  # a command comes here, no file
        offered.append(f'        "{place(command)}") offered="{" ".join(words)}{mark}" ;;')
    print(FRAME.format(commands="|".join(f'"{" ".join(["", *c.words])}"' for c in every if c.words),
                       values="\n".join(values), offered="\n".join(offered)), end="")


if __name__ == "__main__":
    main()
