"""The transmitter's command "report": how a run went."""

import argparse
import pathlib
import sys

from rich.console import Console
from rich.table import Table
from rich.text import Text

from quendal_tools.commands.subcommands import Subcommands
from quendal_tools.distribution import report, run_file, texts
from quendal_tools.distribution.delivery import State
from quendal_tools.distribution.run import Run

_DESCRIPTION = """\
Shows who got what in a run of "transmitter send", when, how fast, who failed and why.

With --html it becomes one page that needs nothing beside itself, with a plot. Ends with status 0 when every display
has everything, else 1; and 2 when there is no such run.
"""
_STYLES = {"stored": "green", "failed": "red", "interrupted": "yellow"}


def add_to(commands: Subcommands) -> None:
    parser = commands.add_parser("report", help="show how a run of send went", description=_DESCRIPTION,
                                 formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("run_file", nargs="?", type=pathlib.Path, metavar="RUN",
                        help="the run's JSON file (the newest one of this user)")
    parser.add_argument("--html", type=pathlib.Path, metavar="FILE", help="make a page of it instead")
    parser.set_defaults(run=run)


def run(given: argparse.Namespace) -> int:
    try:
        path = given.run_file or run_file.newest()
        past = run_file.read(path).run
        if given.html:
            given.html.write_text(report.html(past), encoding="utf-8", errors="replace")
            print(f"{given.html} shows {path}")
        else:
            _show(Console(highlight=False), path, past)
    except (run_file.RunFileError, report.ReportError) as error:
        print(f"transmitter: {error}", file=sys.stderr)
        return 2
    except OSError as error:
        print(f"transmitter: {error.filename}: {error.strerror}", file=sys.stderr)
        return 2
    return 0 if past.all_stored else 1


def _show(console: Console, path: pathlib.Path, past: Run) -> None:
    table = Table("display", "address", "outcome", "tries", "after", "rate", "reason", title=Text(str(path)))
    for row in report.rows(past):
        table.add_row(row["display"], row["address"], Text(row["state"], style=_STYLES.get(row["state"], "")),
                      row["tries"], row["after"], row["rate"], Text(texts.printable(row["reason"])))
    console.print(table)
    counts = texts.sum_of(past.count(State.STORED), len(past.deliveries), past.count(State.FAILED))
    console.print(f"{counts}: {texts.files(len(past.package.files))}, {texts.size(past.package.size)} each, in "
                  f"{past.seconds:.1f} s", soft_wrap=True)
