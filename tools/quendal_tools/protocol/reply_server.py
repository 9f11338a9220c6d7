"""The TCP server of a discovery: each display connects, writes one reply and closes."""

import contextlib
import dataclasses
import selectors
import socket
import time

from quendal_tools.protocol import systems
from quendal_tools.protocol.alive import MAX_REPLY

_SECONDS_FOR_REPLY = 5
_MAX_CONNECTIONS = 1000


@dataclasses.dataclass
class Delivery:
    """What came on one connection; problem says why it is not to be used, if so."""

    source: str
    deadline: float
    data: bytearray = dataclasses.field(default_factory=bytearray)
    last_byte: float = 0.0
    problem: str | None = None
    round_trip: float | None = None


class ReplyServer:
    """Takes connections on a bound socket; whoever selects on the selector calls take for what is readable."""

    def __init__(self, listener: socket.socket, selector: selectors.BaseSelector) -> None:
        self._listener = listener
        self._selector = selector
        self._open: dict[socket.socket, Delivery] = {}
        listener.listen(_MAX_CONNECTIONS)
        listener.setblocking(False)
        selector.register(listener, selectors.EVENT_READ, self.take)

    def close(self) -> None:
        for connection in list(self._open):
            self._finish(connection)

    def take(self, readable: socket.socket) -> list[Delivery]:
        """Reads on, or takes new connections; returns the deliveries that are complete."""
        if readable is not self._listener:
            return self._read(readable)
        with contextlib.suppress(BlockingIOError, ConnectionAbortedError):
            while len(self._open) < _MAX_CONNECTIONS:
                self._admit(*self._listener.accept())
        return []

    def drop_slow_ones(self) -> list[Delivery]:
        """Closes the connections on which nobody finished in time; returns their deliveries."""
        now = time.monotonic()
        slow = [connection for connection, delivery in self._open.items() if delivery.deadline < now]
        return [self._finish(connection, "a reply without an end") for connection in slow]

    def _admit(self, connection: socket.socket, peer: tuple[str, int]) -> None:
        connection.setblocking(False)
        self._open[connection] = Delivery(
            peer[0], time.monotonic() + _SECONDS_FOR_REPLY, round_trip=systems.round_trip(connection))
        self._selector.register(connection, selectors.EVENT_READ, self.take)

    def _read(self, connection: socket.socket) -> list[Delivery]:
        delivery = self._open[connection]
        try:
            piece = connection.recv(MAX_REPLY)
        except OSError as error:
            return [self._finish(connection, f"a broken connection ({error.strerror})")]
        if not piece:
            return [self._finish(connection)]
        delivery.last_byte = time.monotonic()
        delivery.data += piece
        if len(delivery.data) > MAX_REPLY:
            return [self._finish(connection, "a reply that is too long")]
        return []

    def _finish(self, connection: socket.socket, problem: str | None = None) -> Delivery:
        self._selector.unregister(connection)
        connection.close()
        delivery = self._open.pop(connection)
        delivery.problem = problem
        return delivery
