"""Finding the displays on a network: asks by multicast, takes the replies over TCP, hears the heartbeats.

    with Discovery(make_socket=board.pc.socket) as discovery:
        discovery.ask()
        for event in discovery.events(seconds=3):
            ...
"""

import collections
import dataclasses
import random
import selectors
import socket
import sys
import time
from collections.abc import Callable, Iterator

from quendal_tools.configuration.example import GROUP, GROUP_PORT
from quendal_tools.protocol import alive, packet, systems
from quendal_tools.protocol.reply_server import Delivery, ReplyServer

_MAX_DATAGRAM = 1000
_AT_ONCE_SECONDS = 0.5
# Windows binds no socket to a group's address.
_CAN_BIND_GROUP = sys.platform != "win32"


@dataclasses.dataclass(frozen=True)
class Replied:
    """seconds is the time from the request's datagram to the reply's last byte.

    A display replies once in 6 seconds, and looks at its last datagram again each second, so that time may be
    seconds on the fastest network; round_trip is the network's own, None where the system does not tell it.
    """

    source: str
    descriptor: alive.Descriptor
    seconds: float
    round_trip: float | None = None

    @property
    def network_seconds(self) -> float | None:
        """The best that is known of the network: a reply that came at once has not waited for anything else."""
        at_once = self.seconds if self.seconds < _AT_ONCE_SECONDS else None
        return at_once if self.round_trip is None else self.round_trip


@dataclasses.dataclass(frozen=True)
class Heartbeat:
    source: str


@dataclasses.dataclass(frozen=True)
class Refused:
    """Something came from there that is no reply to this discovery's requests."""

    source: str
    reason: str


Event = Replied | Heartbeat | Refused
SocketMaker = Callable[[int], socket.socket]


def plain_socket(kind: int) -> socket.socket:
    return socket.socket(socket.AF_INET, kind)


class Discovery:
    """Asks and listens between the with statement's start and its end.

    interface    name or address of the interface towards the displays; without it the routing table decides
    server_port  where the replies are awaited; 0 for any free port
    make_socket  makes a socket of the given kind, so that another network than this process's can be searched
    """

    def __init__(self, group: str = GROUP, port: int = GROUP_PORT, *, interface: str | None = None,
                 server_port: int = 0, ttl: int = 1, make_socket: SocketMaker = plain_socket) -> None:
        self._group = (group, port)
        self._session = random.getrandbits(32)
        self._asked_at: list[float] = []
        self._waiting: collections.deque[Delivery | Heartbeat] = collections.deque()
        self._datagrams = make_socket(socket.SOCK_DGRAM)
        self._listener = make_socket(socket.SOCK_STREAM)
        self._selector = selectors.DefaultSelector()
        try:
            self.address = (systems.address_of(interface, self._datagrams) if interface
                            else self._routed_address(make_socket))
            self._join(ttl)
            self._listener.bind((self.address, server_port))
            self._server = ReplyServer(self._listener, self._selector)
        except BaseException:
            self._close_sockets()
            raise

    def __enter__(self) -> "Discovery":
        return self

    def __exit__(self, *_: object) -> None:
        """A display handles its last datagram again and again, so that must not stay a request of ours."""
        try:
            if self._asked_at:
                self._datagrams.sendto(packet.status_packet(), self._group)
        finally:
            self._server.close()
            self._close_sockets()

    def ask(self, group: int = 0, column: int = 0, unit: int = 0) -> None:
        """Asks the displays with these numbers, 0 for any, to reply; a display replies once in 6 seconds."""
        datagram = alive.request(
            {"group": group, "column": column, "unit": unit}, self._listener.getsockname(),
            (self._session, len(self._asked_at)))
        self._asked_at.append(time.monotonic())
        self._datagrams.sendto(datagram, self._group)

    def events(self, seconds: float) -> Iterator[Event]:
        """Everything that is heard in that time, as Replied, Heartbeat and Refused."""
        end = time.monotonic() + seconds
        waiting = self._waiting
        while waiting or time.monotonic() < end:
            # Whatever can be read is read first: making sense of one reply must not delay the next one's time.
            # What comes behind the end is left alone, or there would be none while somebody floods the group.
            left = end - time.monotonic()
            ready = self._selector.select(0 if waiting else min(left, 1)) if left > 0 else []
            for key, _ in ready:
                waiting.extend(key.data(key.fileobj))
            waiting.extend(self._server.drop_slow_ones())
            if waiting and not ready:
                yield self._event_of(waiting.popleft())

    def _close_sockets(self) -> None:
        self._datagrams.close()
        self._listener.close()
        self._selector.close()

    def _routed_address(self, make_socket: SocketMaker) -> str:
        with make_socket(socket.SOCK_DGRAM) as probe:
            probe.connect(self._group)
            return probe.getsockname()[0]

    def _join(self, ttl: int) -> None:
        group, interface = socket.inet_aton(self._group[0]), socket.inet_aton(self.address)
        self._datagrams.setblocking(False)
        self._datagrams.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self._datagrams.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, interface)
        self._datagrams.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, ttl)
        self._datagrams.bind(self._group if _CAN_BIND_GROUP else ("", self._group[1]))
        self._datagrams.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, group + interface)
        self._selector.register(self._datagrams, selectors.EVENT_READ, _take_datagram)

    def _event_of(self, delivery: Delivery | Heartbeat) -> Event:
        if isinstance(delivery, Heartbeat):
            return delivery
        if delivery.problem:
            return Refused(delivery.source, delivery.problem)
        try:
            reply = alive.parse_reply(bytes(delivery.data))
        except alive.BadReply as error:
            return Refused(delivery.source, str(error))
        session, number = reply.words
        if session != self._session or number >= len(self._asked_at):
            return Refused(delivery.source, "a reply to another request")
        return Replied(delivery.source, reply.descriptor, delivery.last_byte - self._asked_at[number],
                       delivery.round_trip)


def _take_datagram(datagrams: socket.socket) -> list[Heartbeat]:
    """One's own requests come back, too; they are no heartbeats."""
    datagram, (source, _) = datagrams.recvfrom(_MAX_DATAGRAM)
    return [Heartbeat(source)] if alive.is_heartbeat(datagram) else []
