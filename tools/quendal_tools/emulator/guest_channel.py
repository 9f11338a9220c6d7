"""Runs commands on an emulated board, through the port on which its command script listens."""

import base64
import pathlib
import socket
import threading


class GuestChannel:
    """The test's end of the port; QEMU waits for it to connect, and the guest answers once it is up."""

    def __init__(self, path: pathlib.Path) -> None:
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(str(path))
        self._answers = self._socket.makefile("rb")
        self._one_at_a_time = threading.Lock()

    def close(self) -> None:
        self._answers.close()
        self._socket.close()

    def run(self, command: str, timeout: float) -> tuple[int, str]:
        """Has the guest's bash run a command; returns its status and its output, both streams together."""
        with self._one_at_a_time:
            self._socket.settimeout(timeout)
            try:
                self._socket.sendall(base64.b64encode(command.encode()) + b"\n")
                head = self._answers.readline()
                if not head:
                    raise ConnectionError(f"the emulated board has ended before {command!r} did")
                status, length = map(int, head.split())
                output = self._answers.read(length)
            except TimeoutError:
                raise TimeoutError(f"{command!r} does not end on the emulated board") from None
        return status, output.decode("utf-8", "surrogateescape")
