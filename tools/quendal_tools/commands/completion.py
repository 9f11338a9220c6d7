"""The transmitter's command "completion": what a shell needs to complete its command line."""

import argparse
from collections.abc import Iterator

from quendal_tools.commands.subcommands import Subcommands

_DESCRIPTION = """\
Prints the completion of this command for bash. To have it in each new shell, add the line to ~/.bashrc:

  eval "$(transmitter completion bash)"
"""

_SCRIPT = """\
_transmitter() {{
    local current=${{COMP_WORDS[COMP_CWORD]}} path= word words files
    for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
        case "$path $word" in
{places}        esac
    done
    case $path in
{choices}    esac
    if [[ $current == -* || -z $files ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}}
complete -o filenames -F _transmitter transmitter
"""


def add_to(commands: Subcommands) -> None:
    completion = commands.add_parser("completion", help="completion of this command line for a shell",
                                     description=_DESCRIPTION, formatter_class=argparse.RawDescriptionHelpFormatter)
    completion.add_argument("shell", choices=("bash",))
    completion.set_defaults(run=run)


def run(given: argparse.Namespace) -> int:
    print(script(given.parser), end="")
    return 0


def script(parser: argparse.ArgumentParser) -> str:
    """The completion of a command line with this parser."""
    places, choices = "", ""
    for path, here in _parsers(parser, ""):
        subcommands = _subcommands(here)
        for name in subcommands:
            places += f'            "{path} {name}") path="{path} {name}" ;;\n'
        words = [option for action in here._actions for option in action.option_strings]
        fixed = [str(choice) for action in here._actions if not action.option_strings
                 for choice in action.choices or ()]
        words += fixed
        files = "" if fixed else "yes"
        choices += f'        "{path}") words="{" ".join(words)}" files={files} ;;\n'
    return _SCRIPT.format(places=places, choices=choices)


def _parsers(parser: argparse.ArgumentParser, path: str) -> Iterator[tuple[str, argparse.ArgumentParser]]:
    yield path, parser
    for name, inner in _subcommands(parser).items():
        yield from _parsers(inner, f"{path} {name}")


def _subcommands(parser: argparse.ArgumentParser) -> dict[str, argparse.ArgumentParser]:
    # argparse keeps its actions to itself, and has no other way to ask for them.
    return {name: inner for action in parser._actions if isinstance(action, argparse._SubParsersAction)
            for name, inner in action.choices.items()}
