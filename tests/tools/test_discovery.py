"""A discovery on the loopback interface, with displays played by the test."""

import socket
import time

import pytest

from alive_packets import HEARTBEAT, reply
from played_display import GROUP, LOOPBACK, reply_to
from quendal_tools.protocol import packet
from quendal_tools.protocol.discovery import Discovery, Heartbeat, Refused, Replied


@pytest.fixture(name="discovery")
def _discovery(port):
    with Discovery(GROUP, port, interface="lo") as discovery:
        yield discovery


def first_event(discovery):
    return next(discovery.events(5))


def test_a_reply_is_told_with_its_time(discovery, display):
    discovery.ask(group=1)
    request = display.hear()
    display.send(request, reply_to(request))

    event = first_event(discovery)
    assert isinstance(event, Replied)
    assert event.source == LOOPBACK
    assert (event.descriptor.group, event.descriptor.column, event.descriptor.unit) == (1, 2, 3)
    assert 0 < event.seconds < 5


def test_the_time_counts_from_the_request_that_the_reply_is_to(discovery, display):
    discovery.ask()
    first = display.hear()
    discovery.ask()
    second = display.hear()
    display.send(second, reply_to(second))
    display.send(first, reply_to(first))

    by_second, by_first = first_event(discovery), first_event(discovery)
    assert by_first.seconds > by_second.seconds


def test_a_reply_in_pieces_is_put_together(discovery, display):
    discovery.ask()
    request = display.hear()
    data = reply_to(request)
    with display.connect(request) as connection:
        connection.sendall(data[:30])
        assert list(discovery.events(0.1)) == []
        connection.sendall(data[30:])

    assert isinstance(first_event(discovery), Replied)


@pytest.mark.parametrize(("data", "reason"), [
    (lambda request: b"", "not one whole packet"),
    (lambda request: bytes(4097), "a reply that is too long"),
    (lambda request: reply(), "a reply to another request"),
    (lambda request: reply_to(request, b"[Alive]"), "a descriptor that makes no sense"),
])
def test_what_is_no_reply_is_told_as_refused(discovery, display, data, reason):
    discovery.ask()
    request = display.hear()
    display.send(request, data(request))

    assert first_event(discovery) == Refused(LOOPBACK, reason)


def test_a_reset_connection_is_told_as_refused(discovery, display):
    discovery.ask()
    with display.connect(display.hear()) as connection:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")

    assert first_event(discovery) == Refused(LOOPBACK, "a broken connection (Connection reset by peer)")


def test_a_heartbeat_is_told_and_one_s_own_request_is_not(discovery, display):
    discovery.ask()
    display.heartbeat()

    assert first_event(discovery) == Heartbeat(LOOPBACK)


class FloodedSocket(socket.socket):
    """Whenever a datagram is taken the next one is there already, for up to five seconds."""

    end = None

    def recvfrom(self, size):
        self.end = self.end or time.monotonic() + 5
        if time.monotonic() < self.end:
            self.sendto(HEARTBEAT, self.getsockname())
        return super().recvfrom(size)


def test_a_flood_of_datagrams_does_not_make_a_discovery_longer(port, display):
    def make_socket(kind):
        return FloodedSocket(socket.AF_INET, kind)

    with Discovery(GROUP, port, interface="lo", make_socket=make_socket) as discovery:
        display.heartbeat()
        begin = time.monotonic()

        assert set(discovery.events(0.2)) == {Heartbeat(LOOPBACK)}

        assert time.monotonic() - begin < 4


def test_the_last_datagram_of_a_discovery_is_no_request(port, display):
    with Discovery(GROUP, port, interface=LOOPBACK) as discovery:
        discovery.ask()
    display.hear()

    assert display.hear().status.command == packet.PLAIN_COMMAND


def test_an_unknown_interface_is_named(port):
    with pytest.raises(OSError, match="interface nowhere0: No such device"):
        Discovery(GROUP, port, interface="nowhere0")
