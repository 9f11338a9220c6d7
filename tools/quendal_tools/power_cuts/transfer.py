"""A whole transfer to a board whose power may go at any moment, and how far it has come."""

import contextlib
import threading
import time
from collections.abc import Mapping

from quendal_tools.power_cuts.disk_board import DiskBoard
from quendal_tools.protocol.control_files import STOP_MARKER
from quendal_tools.protocol.sending import Transmitter


def send(transmitter: Transmitter, files: Mapping[str, bytes], end: str = STOP_MARKER) -> None:
    """Sends a transfer of files, {name: bytes}; end is the name of the file that ends it."""
    transmitter.begin(files)
    for name, data in files.items():
        transmitter.send_bytes(name, data)
    transmitter.send_bytes(end, b"")


class Transfer:
    """Sends files while the with statement lasts, at whose end the board is switched off.

    The connection stays open until then, as a transmitter's does that has more to send later.
    """

    def __init__(self, board: DiskBoard, files: Mapping[str, bytes], end: str) -> None:
        self._board = board
        self._files = files
        self._end = end
        self._thread = threading.Thread(target=self._send)
        self._completed: float | None = None
        self.ending = False  # does the service know the name of the file that ends the transfer?

    def __enter__(self) -> "Transfer":
        self._begun = time.monotonic()
        self._thread.start()
        return self

    def __exit__(self, *_: object) -> None:
        self._board.switch_off()
        self._thread.join()

    def look(self) -> tuple[float, float | None]:
        """The seconds since the start and since RXCOMPLETE; these are None as long as it has not come."""
        now = time.monotonic()
        if not self.ending:
            self.ending = f":{self._end}" in self._board.service_text()
        if self._completed is None and self.ending and self._board.completed():
            self._completed = now
        return now - self._begun, None if self._completed is None else now - self._completed

    def _send(self) -> None:
        with contextlib.suppress(ConnectionError), Transmitter(self._board.connect) as transmitter:
            transmitter.connection.settimeout(None)
            send(transmitter, self._files, self._end)
            transmitter.connection.recv(1)
