"""The transmitter's command "send": files over TCP as one transfer."""

import argparse
import pathlib
import socket
import sys
import time

from rich.console import Console

from quendal_tools.commands.progress import transfer_progress
from quendal_tools.commands.subcommands import Subcommands
from quendal_tools.configuration.example import ADDRESS, DATA_PORT
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE
from quendal_tools.protocol.sending import Progress, Transmitter

_DESCRIPTION = "Sends files to a display over TCP, as one transfer: list file, the files, stop marker."


def add_to(commands: Subcommands) -> None:
    send = commands.add_parser("send", help="send files as one transfer", description=_DESCRIPTION)
    send.add_argument("--host", default=ADDRESS, help="the display's address (%(default)s)")
    send.add_argument("--port", type=int, default=DATA_PORT, help="its data port, lcdDataPort (%(default)s)")
    send.add_argument("--dont-care", action="store_true",
                      help="a transfer that the display need not react to: it goes to the scratch directory")
    send.add_argument("--list-file", type=pathlib.Path, metavar="FILE",
                      help=f"send this as the list file, its name containing {LIST_FILE} or {DONT_CARE_LIST_FILE}, "
                           "instead of one made of the files' names")
    send.add_argument("--no-list-file", action="store_true", help="leave the list file out")
    send.add_argument("--no-stop-marker", action="store_true", help="leave the stop marker out")
    send.add_argument("files", nargs="+", type=pathlib.Path, metavar="FILE")
    send.set_defaults(run=run)


def run(given: argparse.Namespace) -> int:
    if given.list_file and not any(marker in given.list_file.name for marker in (LIST_FILE, DONT_CARE_LIST_FILE)):
        sys.exit(f"transmitter: the list file's name contains neither {LIST_FILE} nor {DONT_CARE_LIST_FILE}")
    console = Console()
    try:
        with transfer_progress(console) as progress:
            seconds = _send(given, progress)
    except UnicodeEncodeError as error:
        sys.exit(f"transmitter: a file name has to be plain ASCII: {error.object}")
    except OSError as error:
        sys.exit(f"transmitter: {given.host} port {given.port}: {error}")
    size = sum(file.stat().st_size for file in given.files)
    console.print(f"{len(given.files)} files, {size} bytes in {seconds:.2f} s: {size / seconds / 1e6:.1f} MB/s")
    return 0


def _send(given: argparse.Namespace, progress: Progress) -> float:
    def connect() -> socket.socket:
        return socket.create_connection((given.host, given.port), timeout=30)

    with Transmitter(connect, progress) as transmitter:
        start = time.monotonic()
        if given.list_file:
            transmitter.send_file(given.list_file)
        elif not given.no_list_file:
            transmitter.begin([file.name for file in given.files], given.dont_care)
        for file in given.files:
            transmitter.send_file(file)
        transmitter.await_acknowledged()
        seconds = time.monotonic() - start
        if not given.no_stop_marker:
            transmitter.end()
    return seconds
