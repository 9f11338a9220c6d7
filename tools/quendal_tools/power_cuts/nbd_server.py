"""Serves a disk to one QEMU, by the network block device protocol on a socket in the file system.

Everything happens in one thread, one request after the other. QEMU is offered reads, writes and flushes only: it
makes anything else (zeroes, a write that has to be safe at once) out of these by itself.
"""

import contextlib
import pathlib
import socket
import struct
import threading
from typing import BinaryIO

from quendal_tools.power_cuts.volatile_disk import VolatileDisk

_GREETING = struct.Struct(">8sQQI124x")  # the old form of the handshake: one message, without an answer
_REQUEST = struct.Struct(">IHHQQI")
_REPLY = struct.Struct(">IIQ")
_PASSWORD, _HANDSHAKE_MAGIC = b"NBDMAGIC", 0x00420281861253
_REQUEST_MAGIC, _REPLY_MAGIC = 0x25609513, 0x67446698
_HAS_FLAGS, _TAKES_FLUSHES = 1 << 0, 1 << 2
_READ, _WRITE, _DISCONNECT, _FLUSH = range(4)


class NbdServer:
    """The cable between a disk and its machine; when the power is cut, it is so for both."""

    def __init__(self, disk: VolatileDisk, path: pathlib.Path) -> None:
        self.path = path
        self.writes = 0
        self.off = threading.Event()
        self._disk = disk
        self._last_write: int | None = None
        self._one_at_a_time = threading.Lock()
        self._listener = socket.socket(socket.AF_UNIX)
        self._listener.bind(str(path))
        self._listener.listen(1)
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def close(self) -> None:
        """Ends the service, once its machine is switched off; the disk stays open."""
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self._thread.join()
        self._listener.close()
        self.path.unlink(missing_ok=True)

    def cut(self) -> None:
        """The power goes now: no request is carried out or answered any more."""
        with self._one_at_a_time:
            self.off.set()

    def cut_at_write(self, count: int) -> None:
        """The power will go with the write that is count writes from now, which is not carried out any more."""
        with self._one_at_a_time:
            self._last_write = self.writes + count

    def _serve(self) -> None:
        try:
            connection, _ = self._listener.accept()
        except OSError:
            return  # closed before anybody came
        with connection, connection.makefile("rb") as requests, contextlib.suppress(ConnectionError):
            connection.sendall(_GREETING.pack(
                _PASSWORD, _HANDSHAKE_MAGIC, self._disk.size, _HAS_FLAGS | _TAKES_FLUSHES))
            while self._serve_one(connection, requests):
                pass

    def _serve_one(self, connection: socket.socket, requests: BinaryIO) -> bool:
        """Whether another request may follow; one that finds no power any more stays without an answer."""
        head = requests.read(_REQUEST.size)
        if len(head) < _REQUEST.size:
            return False
        magic, _, kind, handle, offset, length = _REQUEST.unpack(head)
        if magic != _REQUEST_MAGIC or kind == _DISCONNECT:
            return False
        data = requests.read(length) if kind == _WRITE else b""
        with self._one_at_a_time:
            answer = self._carry_out(kind, offset, length, data)
        if answer is not None:
            connection.sendall(_REPLY.pack(_REPLY_MAGIC, 0, handle) + answer)
        return True

    def _carry_out(self, kind: int, offset: int, length: int, data: bytes) -> bytes | None:
        """What follows the reply's head, or None without power."""
        if kind == _WRITE:
            self.writes += 1
            if self.writes == self._last_write:
                self.off.set()
        if self.off.is_set():
            return None
        if kind == _READ:
            return self._disk.read(offset, length)
        if kind == _WRITE:
            self._disk.write(offset, data)
        elif kind == _FLUSH:
            self._disk.flush()
        return b""
