"""What comes to a display over its network, each kind from a thread of its own until it is told to end."""

import random
import socket
import struct
import threading
import time
from collections.abc import Callable

from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from quendal_tools.protocol.sending import Transmitter
from quendal_tools.sandbox.board import Board
from support import multicast

_CONNECT_SECONDS = 2
_SEND_SECONDS = 20
_AGAIN_SECONDS = 0.05
_RESET = struct.pack("ii", 1, 0)  # SO_LINGER: closing throws away what is under way


class Traffic:
    """Runs functions over and over on threads; one that cannot reach the display just now tries again.

    Each gets a source of chance of its own, and its count says how often it has come to its end.
    """

    def __init__(self, seed: object) -> None:
        self.counts: dict[str, int] = {}
        self._seed = seed
        self._ended = threading.Event()
        self._threads: list[threading.Thread] = []

    def __enter__(self) -> "Traffic":
        return self

    def __exit__(self, *_: object) -> None:
        self._ended.set()
        for thread in self._threads:
            thread.join()

    def start(self, name: str, act: Callable[[random.Random], None], pause: float = _AGAIN_SECONDS) -> None:
        """Begins to call act, with a pause in seconds after each call."""
        self.counts[name] = 0
        thread = threading.Thread(target=self._run, args=(name, act, pause), name=name, daemon=True)
        self._threads.append(thread)
        thread.start()

    def _run(self, name: str, act: Callable[[random.Random], None], pause: float) -> None:
        chance = random.Random(f"{self._seed} {name}")
        while not self._ended.is_set():
            try:
                act(chance)
                self.counts[name] += 1
            except OSError:
                pass
            self._ended.wait(pause)


def connect(board: Board) -> socket.socket:
    """A connection to the display, whose peer does not wait for ever."""
    connection = board.pc.connect(DATA_PORT, timeout=_CONNECT_SECONDS)
    connection.settimeout(_SEND_SECONDS)
    return connection


def transfer(board: Board, chance: random.Random, *, files: int, largest: int, marker: bool = True) -> None:
    """Sends files of up to so many bytes, with a list and a marker around them or without, and awaits the end."""
    contents = {f"file{number}.bin": chance.randbytes(chance.randrange(largest)) for number in range(files)}
    with Transmitter(lambda: connect(board)) as transmitter:
        if marker:
            transmitter.begin(contents)
        for name, data in contents.items():
            transmitter.send_bytes(name, data)
        if marker:
            transmitter.end()
        transmitter.connection.shutdown(socket.SHUT_WR)
        transmitter.connection.recv(1)


def reset_in_the_middle(board: Board, chance: random.Random) -> None:
    """Begins a file, and resets the connection at a byte of chance."""
    data = packet.file_packet("reset.bin", chance.randbytes(20_000))
    connection = connect(board)
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, _RESET)
    with connection:
        connection.sendall(data[:chance.randrange(len(data))])
        time.sleep(chance.uniform(0, 0.2))


def flap(board: Board, seconds: float) -> None:
    """Pulls the cable and plugs it in again."""
    board.cable(False)
    time.sleep(seconds)
    board.cable(True)


class Asking:
    """A transmitter that asks who is alive, and takes the replies."""

    def __init__(self, board: Board) -> None:
        self._transmitter = multicast.Transmitter(board.pc)

    def __enter__(self) -> "Asking":
        return self

    def __exit__(self, *_: object) -> None:
        self._transmitter.__exit__()

    def ask(self, chance: random.Random) -> None:
        """One request, of words of its own."""
        self._transmitter.ask(words=(chance.getrandbits(32), chance.getrandbits(32)))

    def take_reply(self, _: random.Random) -> None:
        """One reply, whole; OSError when none comes in a second."""
        if not self._transmitter.take_reply(1)[0]:
            raise OSError("an empty reply")
