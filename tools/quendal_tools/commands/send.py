"""The transmitter's command "send": a package to one display, or to many at once."""

import argparse
import pathlib

from quendal_tools.commands import options, sending_run
from quendal_tools.commands.subcommands import Subcommands
from quendal_tools.configuration.example import ADDRESS, DATA_PORT, GROUP_PORT
from quendal_tools.distribution.run import DEFAULT_JOBS
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE

_DESCRIPTION = """\
Sends files and folders to displays over TCP, to each of them as one transfer: list file, the files, stop marker.

A SELECTION is an address, group/column/unit as on the displays, or "all"; several have commas between them, or an
option each. "*" in place of a number takes whoever is found, and 1-10 ten displays that have to be there:

  transmitter send --to 192.168.77.10 clip.ts
  transmitter send --to '1/*/*,2/1/1-4' lobby/
  transmitter send --plan weekly.toml
  transmitter send --again run-20260301-030000.json

A folder is sent with all that is below it. Everything is checked before the first byte is sent. A display has
stored everything when it ends the connection as it should, 5 s behind the stop marker; otherwise it is tried
again. There may be one sender at a time: two of them break each other's connections.

Each run leaves a JSON file, which "transmitter report" shows and --again takes up. Ends with status 0 when every
display has everything, 1 when one has not or nothing was sent, and 2 when the command line is wrong.
"""


def add_to(commands: Subcommands) -> None:
    send = commands.add_parser("send", help="send files to displays", description=_DESCRIPTION,
                               formatter_class=argparse.RawDescriptionHelpFormatter)
    _add_what(send)
    _add_whom(send)
    _add_how(send)
    send.add_argument("files", nargs="*", type=pathlib.Path, metavar="FILE", help="files and folders")
    send.set_defaults(run=sending_run.run, usage_error=send.error)


def _add_what(send: argparse.ArgumentParser) -> None:
    what = send.add_argument_group("what is sent")
    what.add_argument("--plan", type=pathlib.Path, metavar="FILE",
                      help="a TOML file that says who gets what, instead of --to and files")
    what.add_argument("--again", type=pathlib.Path, metavar="RUN",
                      help="the files of that run to those who have not confirmed them")
    what.add_argument("--dont-care", action="store_true",
                      help="a transfer that the display need not react to: it goes to the scratch directory")
    what.add_argument("--list-file", type=pathlib.Path, metavar="FILE",
                      help=f"send this as the list file, its name containing {LIST_FILE} or {DONT_CARE_LIST_FILE}, "
                           "instead of one made of the files' names")
    what.add_argument("--no-list-file", action="store_true", help="leave the list file out")
    what.add_argument("--no-stop-marker", action="store_true", help="leave the stop marker out")


def _add_whom(send: argparse.ArgumentParser) -> None:
    whom = send.add_argument_group("who gets it")
    whom.add_argument("--to", action="append", default=[], metavar="SELECTION", help="may be repeated")
    whom.add_argument("--host", default=None, help=f"one display by name or address, without --to ({ADDRESS})")
    whom.add_argument("--port", type=options.count, default=None,
                      help=f"the displays' data port, lcdDataPort ({DATA_PORT})")
    finding = send.add_argument_group("how displays are found")
    finding.add_argument("--seconds", type=options.positive, default=7.0, metavar="S",
                         help="how long to look for displays (%(default)g)")
    finding.add_argument("--group-port", type=options.count, default=GROUP_PORT, metavar="PORT",
                         help="the group's port, lcdMcastPort (%(default)s)")
    options.add_network(finding)


def _add_how(send: argparse.ArgumentParser) -> None:
    how = send.add_argument_group("how it is sent")
    how.add_argument("--jobs", type=options.count, default=DEFAULT_JOBS, metavar="N",
                     help="so many at once, not counting displays that do not keep up (%(default)s)")
    how.add_argument("--tries", type=options.count, default=3, metavar="N", help="for each display (%(default)s)")
    how.add_argument("--patience", type=options.positive, default=30.0, metavar="S",
                     help="how long a display may take nothing; after a failure it takes nothing for 5 s "
                          "(%(default)g)")
    how.add_argument("--dry-run", action="store_true", help="say who would get what, and connect to nobody")
    how.add_argument("--plain", action="store_true", help="lines instead of a live screen, as without a terminal")
    how.add_argument("--run-file", type=pathlib.Path, metavar="FILE", help="where to leave the run's JSON file")
