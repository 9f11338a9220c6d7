"""Error streams of which the test holds the other end, and a service that writes to one."""

import contextlib
import fcntl
import os
import pty
import select
import socket
import termios
import time
import tty

from quendal_tools.board.layout import BIN, TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support import multicast

NOTICE = r"\nError stream: (\d+) messages? dropped"
LINK_UP_SECONDS = 40


class Stream:
    """A stream that the service gets as its error stream: given is its end, and so held by two."""

    def __init__(self, reading, given):
        self._reading, self.given = reading, given
        os.set_blocking(reading, False)

    def read(self):
        """What lies there."""
        parts = []
        with contextlib.suppress(BlockingIOError):
            while part := os.read(self._reading, 65536):
                parts.append(part)
        return b"".join(parts)

    def read_until(self, wanted, text=b"", timeout=20):
        """Reads on until the pattern is found; returns all of it, text before it included."""
        deadline = time.monotonic() + timeout
        while not wanted.search(text):
            assert time.monotonic() < deadline, text[-2000:]
            select.select([self._reading], [], [], 0.2)
            text += self.read()
        return text

    def resume(self):
        """The reader is back."""

    def is_waited_for(self):
        """Would a plain write on the shared descriptor still wait?"""
        return not fcntl.fcntl(self.given, fcntl.F_GETFL) & os.O_NONBLOCK

    def close_reading(self):
        os.close(self._reading)

    def close(self):
        for descriptor in (self._reading, self.given):
            with contextlib.suppress(OSError):
                os.close(descriptor)


def unread_pipe():
    """A pipe without room for a single byte."""
    reading, writing = os.pipe()
    os.write(writing, bytes(fcntl.fcntl(writing, fcntl.F_GETPIPE_SZ)))
    return Stream(reading, writing)


def empty_pipe():
    return Stream(*os.pipe())


def stopped_journal():
    """A stream socket like a journal's, with no room left."""
    ours, theirs = socket.socketpair()
    theirs.setblocking(False)
    with contextlib.suppress(BlockingIOError):
        while True:
            theirs.send(bytes(100))
    theirs.setblocking(True)
    return Stream(ours.detach(), theirs.detach())


class Console(Stream):
    """A terminal that one XOFF byte has stopped."""

    def __init__(self):
        master, slave = pty.openpty()
        tty.setraw(slave)
        settings = termios.tcgetattr(slave)
        settings[0] |= termios.IXON
        termios.tcsetattr(slave, termios.TCSANOW, settings)
        os.write(master, b"\x13")
        super().__init__(master, slave)

    def resume(self):
        os.write(self._reading, b"\x11")


SILENT = {"unread pipe": unread_pipe, "stopped terminal": Console, "stopped journal": stopped_journal}


class Heard:
    """A service on a board with a display, whose error stream is the test's."""

    def __init__(self, board, quendal, stream, wrapper=()):
        self.board, self.stream = board, stream
        self.display = board.display()
        self.process = board.popen([*wrapper, board.install(quendal)], env=self.display.env, cwd=BIN,
                                   stderr=stream.given)

    def connect(self):
        """A connection to the data port, as soon as it is open."""
        def connected():
            with contextlib.suppress(OSError):
                return self.board.pc.connect(DATA_PORT)

        return wait_until(connected, LINK_UP_SECONDS, "the open port", interval=0.2)

    def assert_receives(self, name, data):
        """A file arrives at once, on a connection that is not just being dropped because another has ended."""
        def arrived():
            with self.connect() as connection, contextlib.suppress(OSError, TimeoutError):
                connection.sendall(packet.file_packet(name, data))
                return wait_until(lambda: self.stored(name) == data, 3, name)

        wait_until(arrived, 12, name)

    def stored(self, name):
        with contextlib.suppress(FileNotFoundError):
            return self.board.path(f"{TARGET}/{name}").read_bytes()

    def assert_replies(self):
        """An alive request gets its reply."""
        with multicast.Transmitter(self.board.pc) as transmitter:
            multicast.assert_replies(self, transmitter, timeout=30)

    def assert_stops(self):
        self.process.terminate()
        assert self.process.wait(10) == 0

    def descriptors(self):
        """The service's open files, as pairs of number and name."""
        folder = f"/proc/{self.process.pid}/fd"
        return [(int(number), os.readlink(f"{folder}/{number}")) for number in sorted(os.listdir(folder), key=int)]
