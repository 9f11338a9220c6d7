"""Sends files to a display over TCP, as the transmitter on the PC does."""

import os
import pathlib
import socket
import time
from collections.abc import Callable, Iterable, Sequence
from typing import BinaryIO, Generic, TypeVar

from quendal_tools.protocol import packet, systems
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE, STOP_MARKER, list_text
from quendal_tools.protocol.patient import PatientConnection

# Called with a file's name, its bytes sent so far and its size.
Progress = Callable[[str, int, int], None]

_PIECE = 1 << 20

Connection = TypeVar("Connection", socket.socket, PatientConnection)


class SourceError(OSError):
    """A file of this machine cannot be sent; the display has nothing to do with it."""


def ignore_progress(name: str, sent: int, size: int) -> None:
    """The progress callback of those who do not want to know."""


class Transmitter(Generic[Connection]):
    """One connection to a display; connect is a function that gives a connected socket, plain or patient.

    Between the with statement's start and its end there is a connection.
    """

    connection: Connection

    def __init__(self, connect: Callable[[], Connection], progress: Progress = ignore_progress) -> None:
        self._connect: Callable[[], Connection] = connect
        self._progress = progress

    def __enter__(self) -> "Transmitter[Connection]":
        self.connection = self._connect()
        return self

    def __exit__(self, *_: object) -> None:
        self.connection.close()

    def send_bytes(self, name: str, data: bytes) -> None:
        """Sends a file that is held in memory."""
        self._progress(name, 0, len(data))
        self.connection.sendall(packet.file_packet(name, data))
        self._progress(name, len(data), len(data))

    def send_file(self, path: str | pathlib.Path, name: str | None = None) -> None:
        """Sends a file of this machine piece by piece, however large it is."""
        name = name or pathlib.Path(path).name
        with _opened(path) as file:
            size = os.fstat(file.fileno()).st_size
            self._progress(name, 0, size)
            self.connection.sendall(packet.file_head(name, size))
            sent = 0
            while sent < size:
                count = self.connection.sendfile(file, sent, min(_PIECE, size - sent))
                if count == 0:
                    raise SourceError(f"{path} has become shorter while it was sent")
                sent += count
                self._progress(name, sent, size)

    def begin(self, names: Iterable[str], dont_care: bool = False) -> None:
        """Opens a transfer: the list of what follows decides what the display does with it."""
        self.send_bytes(DONT_CARE_LIST_FILE if dont_care else LIST_FILE, list_text(names))

    def end(self) -> None:
        """Closes a transfer; the display is told now, and again when it may use the files."""
        self.send_bytes(STOP_MARKER, b"")

    def await_acknowledged(self) -> None:
        """Waits until the display's system has all that was sent, so that the time taken means something."""
        while systems.unacknowledged(_plain(self.connection)):
            time.sleep(0.001)

    def send_transfer(self, paths: Sequence[str | pathlib.Path], dont_care: bool = False) -> None:
        """A whole transfer: list file, the files, stop marker."""
        self.begin([pathlib.Path(path).name for path in paths], dont_care)
        for path in paths:
            self.send_file(path)
        self.end()


def _plain(connection: socket.socket | PatientConnection) -> socket.socket:
    return connection.socket if isinstance(connection, PatientConnection) else connection


def _opened(path: str | pathlib.Path) -> BinaryIO:
    try:
        return open(path, "rb")
    except OSError as error:
        raise SourceError(f"{path} cannot be read: {error.strerror or error}") from error
