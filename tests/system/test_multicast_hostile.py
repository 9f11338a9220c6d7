"""Datagrams that nobody should send."""

import random
import re
import struct

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import GROUP_PORT
from quendal_tools.protocol import packet
from support import multicast

MUTATED_DATAGRAMS = 100_000
# What a receive buffer of the usual size holds in any case, with as much again to spare.
BATCH = 64


@pytest.fixture
def display(make_rig):
    """As elsewhere, with its temporary files in memory."""
    rig = make_rig(base_dir="/dev/shm")
    multicast.await_resumed_and_due(rig)
    return rig


def with_u32(datagram, offset, value):
    return datagram[:offset] + struct.pack("<I", value) + datagram[offset + 4:]


def request_with_file(port):
    return multicast.request_packet(content=multicast.server_entry(port))


def test_length_that_leaves_the_buffer_is_reported_and_the_datagram_goes_no_further(display, transmitter):
    good = request_with_file(transmitter.port)
    at_header, at_status, at_name, at_data = 0, 20, 44, 59
    for datagram in (with_u32(good, at_header, 1001), with_u32(good, at_header, 0x7FFFFFFF),
                     with_u32(good, at_status, 981), with_u32(good, at_status, 0x7FFFFFFF),
                     with_u32(good, at_data, 1000), with_u32(good, at_data, 0x80000000),
                     good[:at_name] + b"\xff\xff" + good[at_name + 2:]):
        mark = display.service.mark()
        transmitter.send(datagram)
        end = display.service.wait_for(console.DATAGRAM_REFUSED, after=mark)
        assert display.service.stderr_text()[mark:end] == console.DATAGRAM_REFUSED, datagram[:70]
    assert not transmitter.has_connection(within=1.5)
    multicast.assert_no_temporary_files(display.board)
    multicast.assert_replies(display, transmitter)


def test_datagrams_of_no_bytes_one_byte_and_more_than_the_buffer_do_no_harm(display, transmitter):
    for datagram in (b"", b"\x14", bytes(1400), b"\xff" * 1000):
        transmitter.send(datagram)

    multicast.assert_replies(display, transmitter)


def test_truncated_request_is_handled_with_what_the_buffer_holds(display, transmitter):
    """The same bytes lie in the buffer from the request before, so that the rest of this one is there."""
    whole = request_with_file(transmitter.port)
    transmitter.send(multicast.request_packet(content=multicast.server_entry(transmitter.port), unit=9))

    transmitter.send(whole[:40])

    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board)


def test_file_that_asks_for_endless_memory_is_refused(display, transmitter):
    lines = "".join(f"v{level}=" + f"${{x.v{level + 1}}}" * 8 + "\n" for level in range(9))
    bomb = f"[x]\n{lines}[new_alive_cfgpc_info]\nTCPserverPort=${{x.v0}}\nTCPserverIP=1\n".encode()
    mark = display.service.mark()

    transmitter.send(multicast.request_packet(content=bomb))

    refusal = console.ALIVE_FILE_NOT_TAKEN + "Bad data format: .*: its references lead to too much text"
    display.service.wait_for(re.compile(refusal), after=mark)
    transmitter.send(packet.status_packet())
    multicast.assert_replies(display, transmitter)


class ErrorTail:
    """What the service writes from now on, looked at piece by piece, since it will be many megabytes."""

    def __init__(self, service):
        self._service = service
        self._file = service.stderr_file.open("rb")
        self._file.seek(0, 2)
        self._last = b""

    def await_text(self, text):
        def found():
            assert self._service.alive()
            self._last = self._last[-len(text):] + self._file.read()
            return text in self._last

        wait_until(found, 20, repr(text))


def lost_datagrams(board):
    """How many datagrams the board's system has thrown away because the service did not fetch them in time."""
    sockets = [line.split() for line in board.run(["cat", "/proc/net/udp"], check=True).stdout.splitlines()]
    return [int(words[-1]) for words in sockets if words[1].endswith(f":{GROUP_PORT:04X}")]


def mutations(generator, port):
    """Endless datagrams: good ones with bytes changed, cut out, doubled, and lengths at their edges.

    Most carry requests to another display: what a mutated file says about the server is then taken in, but
    not tried, which could cost five seconds each.
    """
    edges = (0, 1, 3, 4, 7, 8, 9, 16, 19, 20, 980, 981, 1000, 1001, 1024, 1027, 65535, 0x7FFFFFFF, 0xFFFFFFFF)
    foreign = multicast.request_packet(content=multicast.server_entry(port), unit=0x5A5A, column=0x5A5A, group=0x5A5A)
    head = request_with_file(port)
    seeds = (foreign, foreign, foreign, multicast.HEARTBEAT, packet.file_packet("name", b"data" * 20), head)
    while True:
        datagram = bytearray(generator.choice(seeds))
        limit = 36 if datagram == head else len(datagram)
        for _ in range(generator.randint(1, 4)):
            where = generator.randrange(limit)
            change = generator.randrange(4)
            if change == 0:
                datagram[where:where + 1] = generator.randbytes(1)
            elif change == 1:
                datagram[where] ^= 1 << generator.randrange(8)
            elif change == 2:
                offset = generator.choice((0, 20, 36, min(59, len(datagram) - 4)))
                datagram[offset:offset + 4] = struct.pack("<I", generator.choice(edges))
            else:
                del datagram[where + limit // 2:]
            limit = min(limit, len(datagram)) or 1
            datagram = datagram or bytearray(b"\0")
        # Such a request would be this display's, and what its file says would be tried.
        if datagram[20 + 10:20 + 16] != b"\0" * 6 or bytes(datagram[36:]) == head[36:]:
            yield bytes(datagram)


@pytest.mark.long(120)
def test_after_100_000_mutated_datagrams_a_good_request_gets_its_reply(display, transmitter):
    """Sent in batches that the receive buffer holds, each followed by one with a signature of its own: the
    service's report of it says that all before it have been handled."""
    source = mutations(random.Random(20240517), transmitter.port)
    errors = ErrorTail(display.service)
    for batch in range(0, MUTATED_DATAGRAMS, BATCH):
        for _ in range(min(BATCH, MUTATED_DATAGRAMS - batch)):
            transmitter.send(next(source))
        signature = 0x10000000 + batch
        transmitter.send(packet.LcdPacket.build(
            {"header": {"element_count": 1, "signature": signature}, "status": None, "file": None}))
        errors.await_text(f"sigWord Code:{signature},".encode())
    assert lost_datagrams(display.board) == [0]
    descriptors = display.service.fd_count()

    multicast.assert_replies(display, transmitter)

    multicast.assert_no_temporary_files(display.board)
    assert display.service.fd_count() <= descriptors
