"""The transmitter's side of a display: finds the displays, sends them files, prepares sticks for them."""

import argparse
import io
import os
import signal
import sys
from collections.abc import Sequence

from quendal_tools.commands import completion, discover, report, send, stick, watch


def make_parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(prog="transmitter", description=__doc__)
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    for command in (send, report, discover, watch, stick, completion):
        command.add_to(commands)
    return parser


def main(words: Sequence[str] | None = None) -> int:
    parser = make_parser()
    words = list(sys.argv[1:] if words is None else words)
    given = parser.parse_args(words)
    # Options that come from elsewhere stand before those of the command line, which win.
    at = words.index(given.command) + 1
    given.parse_again = lambda more: parser.parse_args([*words[:at], *more, *words[at:]])
    given.parser = parser
    for stream in (sys.stdout, sys.stderr):
        # A terminal that lacks a character gets another one; a file's name must not end the program.
        if isinstance(stream, io.TextIOWrapper):
            stream.reconfigure(errors="replace")
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    try:
        return given.run(given)
    except KeyboardInterrupt:
        sys.exit("transmitter: interrupted")
    except BrokenPipeError:
        # Whoever read the output has gone; the interpreter must not write there at its end.
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
        return 1


if __name__ == "__main__":
    sys.exit(main())
