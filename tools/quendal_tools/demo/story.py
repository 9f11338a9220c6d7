"""The demonstration's scenes, told on the screen while they happen."""

import hashlib
import pathlib
import socket
import time
from collections.abc import Sequence

from rich.console import Console
from rich.table import Table

from quendal_tools.board.display_watch import DisplayWatch
from quendal_tools.board.layout import TARGET
from quendal_tools.board.service import Service
from quendal_tools.commands.found_displays import FoundDisplays
from quendal_tools.commands.progress import transfer_progress
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol.control_files import LIST_FILE, STOP_MARKER, list_text
from quendal_tools.protocol.discovery import Discovery, Replied
from quendal_tools.protocol.sending import Transmitter
from quendal_tools.sandbox.board import Board
from quendal_tools.sandbox.keeping import clock

_MEANINGS = {
    "NETW_UP": "the network came up",
    "NETW_DN": "the network is down",
    "START2RX": "new files are there",
    "RXCOMPLETE": "the transfer is complete",
}
_WAKE_UP_TIMEOUT = 15
_REPLY_TIMEOUT = 15
_SECONDS_BETWEEN_REQUESTS = 0.5
_LAST_LINES = 8


class Failure(Exception):
    """What went wrong, as one plain sentence."""


class Story:
    def __init__(self, console: Console, board: Board, display: DisplayWatch, service: Service) -> None:
        self._console = console
        self._board = board
        self._display = display
        self._service = service
        self._told = 0

    def link_up(self) -> None:
        self._console.print("\n[bold]The service is started and looks for its network.[/bold]")
        self._await("NETW_UP")

    def discover(self) -> None:
        """The transmitter finds the board, which has to say the right things about itself."""
        self._console.print("\n[bold]The transmitter asks by multicast which displays are there.[/bold] "
                            "A display replies from 6 s after its start on.", soft_wrap=True)
        replies = self._replies()
        if not replies:
            raise Failure(f"No display replied within {_REPLY_TIMEOUT} s; {self._last_words()}")
        found = FoundDisplays()
        for reply in replies:
            found.note(reply)
        self._console.print(found.table())
        who = replies[0].descriptor
        if (who.address, who.hardware_address) != (self._board.address, self._board.hardware_address):
            raise Failure(f"The display says that it is {who.address}, {who.hardware_address}, instead of "
                          f"{self._board.address}, {self._board.hardware_address}.")

    def _replies(self) -> list[Replied]:
        """Asks again and again until somebody replies."""
        replies: list[Replied] = []
        deadline = time.monotonic() + _REPLY_TIMEOUT
        with Discovery(make_socket=self._board.pc.socket) as discovery:
            while not replies and time.monotonic() < deadline:
                discovery.ask()
                events = discovery.events(_SECONDS_BETWEEN_REQUESTS)
                replies += [event for event in events if isinstance(event, Replied)]
        return replies

    def transfer(self, paths: Sequence[pathlib.Path]) -> None:
        self._console.print("\n[bold]The transmitter connects and sends a package.[/bold]")
        with transfer_progress(self._console) as progress:
            with Transmitter(self._connect, progress) as transmitter:
                start = time.time()
                transmitter.send_transfer(paths)
        seconds = self._await("START2RX") - start
        size = sum(path.stat().st_size for path in paths)
        self._console.print(f"  All files were stored by then: {size / 1e6:.1f} MB in {seconds:.3f} s.")
        self._await("RXCOMPLETE")

    def compare(self, paths: Sequence[pathlib.Path]) -> None:
        """A table of what was sent and what lies in the target directory; Failure when they differ."""
        sent = {LIST_FILE: list_text([path.name for path in paths])}
        sent.update({path.name: path.read_bytes() for path in paths})
        sent[STOP_MARKER] = b""
        table = Table("file", "bytes", "SHA-256 sent", "SHA-256 stored", "",
                      title=f"\nWhat was sent, and what lies in {TARGET}")
        different = []
        for name, data in sent.items():
            stored = self._stored(name)
            same = stored == data
            if not same:
                different.append(name)
            table.add_row(name, str(len(data)), short_sum(data), short_sum(stored),
                          "[green]same[/green]" if same else "[red]different[/red]")
        self._console.print(table)
        if different:
            raise Failure(f"{', '.join(different)} did not arrive as sent.")

    def _connect(self) -> socket.socket:
        """The service opens its port within a second of the link, and wakes the display before it does."""
        deadline = time.monotonic() + 5
        while True:
            try:
                return self._board.pc.connect(DATA_PORT)
            except ConnectionRefusedError:
                if time.monotonic() > deadline:
                    raise Failure(f"The service does not listen on port {DATA_PORT}.") from None
                time.sleep(0.05)

    def _await(self, wanted: str) -> float:
        """Tells every wake-up of the display until the wanted one, and returns the time of that."""
        deadline = time.monotonic() + _WAKE_UP_TIMEOUT
        while True:
            for moment, name in self._display.events()[self._told:]:
                self._told += 1
                meaning = _MEANINGS.get(name, "")
                self._console.print(f"  {clock(moment)}  the display is woken by [bold yellow]{name}[/bold yellow]: "
                                    f"{meaning}")
                if name == wanted:
                    return moment
            if not self._service.alive():
                raise Failure(f"The service ended with status {self._service.returncode}; {self._last_words()}")
            if time.monotonic() > deadline:
                raise Failure(f"The display was not woken by {wanted} within {_WAKE_UP_TIMEOUT} s; "
                              f"{self._last_words()}")
            time.sleep(0.02)

    def _last_words(self) -> str:
        lines = self._service.stderr_text().split("\n")[-_LAST_LINES:]
        return "its last words are:\n" + ("\n".join(lines) or "(none)")

    def _stored(self, name: str) -> bytes | None:
        try:
            return self._board.path(f"{TARGET}/{name}").read_bytes()
        except FileNotFoundError:
            return None


def short_sum(data: bytes | None) -> str:
    return "missing" if data is None else hashlib.sha256(data).hexdigest()[:16]
