"""Displays played by a test: they receive on loopback addresses, each as well or as badly as it is told.

Only for what a real display cannot be brought to do on demand; tests/system has real ones.
"""

import contextlib
import socket
import struct
import threading
import time

_FIRST_ADDRESS = 11


def addresses(count):
    return [f"127.0.0.{_FIRST_ADDRESS + number}" for number in range(count)]


class PlayedReceiver:
    """behaviour is called with each connection; the list of what came is by connection."""

    def __init__(self, address, behaviour, port=0):
        self.received = []
        self._behaviour = behaviour
        self._listener = socket.create_server((address, port), backlog=64)
        self.address, self.port = self._listener.getsockname()
        threading.Thread(target=self._serve, daemon=True).start()

    def close(self):
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)  # a close alone leaves accept waiting
        self._listener.close()

    def _serve(self):
        with contextlib.suppress(OSError):
            while True:
                connection, _ = self._listener.accept()
                self._behaviour(self, connection)


def stores(receiver, connection):
    """Reads to the half-close and ends the connection in order."""
    data = bytearray()
    with connection:
        while piece := connection.recv(1 << 16):
            data += piece
        receiver.received.append(bytes(data))


def reset(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()


def drops(receiver, connection):
    """Resets at once, as whoever has come in the gap sees it."""
    receiver.received.append(b"")
    reset(connection)


def drops_late(receiver, connection):
    """Resets as a display does that could not store a file, but for the seconds, of which one is left out."""
    time.sleep(4.2)
    drops(receiver, connection)


def stalls(receiver, connection):
    """Takes nothing and keeps the connection."""
    receiver.received.append(connection)


def first(count, before, after):
    """The first so many connections are treated in one way, the later ones in another."""
    def behaviour(receiver, connection):
        (before if len(receiver.received) < count else after)(receiver, connection)

    return behaviour
