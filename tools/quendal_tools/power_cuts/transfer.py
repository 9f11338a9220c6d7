"""A whole transfer to a board whose power may go at any moment, and how far it has come."""

import contextlib
import threading
import time

from quendal_tools.protocol.control_files import STOP_MARKER
from quendal_tools.protocol.sending import Transmitter


def send(transmitter, files, end=STOP_MARKER):
    """Sends a transfer of files, {name: bytes}; end is the name of the file that ends it."""
    transmitter.begin(files)
    for name, data in files.items():
        transmitter.send_bytes(name, data)
    transmitter.send_bytes(end, b"")


class Transfer:
    """Sends files while the with statement lasts, at whose end the board is switched off.

    The connection stays open until then, as a transmitter's does that has more to send later.
    """

    def __init__(self, board, files, end):
        self._board = board
        self._files = files
        self._end = end
        self._thread = threading.Thread(target=self._send)
        self._completed = None
        self.ending = False  # does the service know the name of the file that ends the transfer?

    def __enter__(self):
        self._begun = time.monotonic()
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._board.switch_off()
        self._thread.join()

    def look(self):
        """The seconds since the start and since RXCOMPLETE; these are None as long as it has not come."""
        now = time.monotonic()
        if not self.ending:
            self.ending = f":{self._end}" in self._board.service_text()
        if self._completed is None and self.ending and self._board.completed():
            self._completed = now
        return now - self._begun, None if self._completed is None else now - self._completed

    def _send(self):
        with contextlib.suppress(ConnectionError), Transmitter(self._board.connect) as transmitter:
            transmitter.connection.settimeout(None)
            send(transmitter, self._files, self._end)
            transmitter.connection.recv(1)
