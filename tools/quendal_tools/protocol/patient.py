"""A connection on which no wait is blind: whoever uses it is told of each, and can end it."""

import errno
import os
import selectors
import socket
import time
from collections.abc import Callable
from typing import BinaryIO

# Called again and again while a wait lasts, with its seconds so far, and with 0 when it is over. What it raises
# ends the wait.
Waiting = Callable[[float], None]

# The one that needs no descriptor of its own, where there is a choice: connections may be hundreds.
_SELECTOR = getattr(selectors, "PollSelector", selectors.SelectSelector)
_SLICE = 0.25
# Windows has a number of its own for a connect that goes on.
_UNDER_WAY = {errno.EINPROGRESS, errno.EWOULDBLOCK, getattr(errno, "WSAEWOULDBLOCK", errno.EWOULDBLOCK)}
_PIECE = 1 << 18


def wait_blindly(seconds: float) -> None:
    """The callback of those who wait however long it takes."""


class PatientConnection:
    """Takes over a socket, connected or not, and closes it. last_moved is when the display last took something."""

    def __init__(self, connection: socket.socket, waiting: Waiting = wait_blindly) -> None:
        self.socket = connection
        self.last_moved = time.monotonic()
        self.waiting = waiting
        self._selector = _SELECTOR()
        connection.setblocking(False)
        self._selector.register(connection, selectors.EVENT_READ)

    def close(self) -> None:
        self._selector.close()
        self.socket.close()

    def connect(self, address: tuple[str, int], seconds: float) -> None:
        """Connects, or raises what the system says; TimeoutError when it says nothing."""
        error = self.socket.connect_ex(address)
        if error in _UNDER_WAY:
            if not self._await(selectors.EVENT_WRITE, seconds):
                raise TimeoutError(errno.ETIMEDOUT, os.strerror(errno.ETIMEDOUT))
            error = self.socket.getsockopt(socket.SOL_SOCKET, socket.SO_ERROR)
        if error:
            raise OSError(error, os.strerror(error))
        self.last_moved = time.monotonic()

    def sendall(self, data: bytes) -> None:
        view = memoryview(data)
        while view:
            view = view[self._send(lambda: self.socket.send(view)):]

    def sendfile(self, file: BinaryIO, offset: int, count: int) -> int:
        """Sends bytes of a file, at most count; returns how many, 0 behind its end."""
        count = min(count, _PIECE)
        if hasattr(os, "sendfile"):
            return self._send(lambda: os.sendfile(self.socket.fileno(), file.fileno(), offset, count))
        file.seek(offset)
        data = file.read(count)
        self.sendall(data)
        return len(data)

    def await_readable(self, seconds: float) -> bool:
        """Waits for something from the other side: its end, since it never sends anything."""
        return self._await(selectors.EVENT_READ, seconds)

    def _send(self, send: Callable[[], int]) -> int:
        while True:
            try:
                sent = send()
            except BlockingIOError:
                self._await(selectors.EVENT_WRITE, float("inf"))
            else:
                self.last_moved = time.monotonic()
                return sent

    def _await(self, event: int, seconds: float) -> bool:
        begin = time.monotonic()
        self._selector.modify(self.socket, event)
        told = False
        while not (ready := bool(self._selector.select(min(_SLICE, max(0.0, begin + seconds - time.monotonic()))))):
            if (lasted := time.monotonic() - begin) >= seconds:
                break
            told = True
            self.waiting(lasted)
        if told:
            self.waiting(0.0)
        return ready
