"""Length fields of a packet at their edges; the unit tests have the values between, and mutated packets all of them."""

import pytest

from quendal_tools.board import console
from quendal_tools.protocol import packet
from support import packets

pytestmark = pytest.mark.long(30)  # all together, on the board that they share

FOLLOWING = packet.file_packet("following.bin", b"f")


class Said:
    def __init__(self, rig):
        self.rig = rig

    def __call__(self, data):
        """What is written about a connection that sends this, between its greeting and the port's re-opening."""
        mark = self.rig.service.mark()
        peer = self.rig.send(data)
        text = self.rig.text_since(mark)
        assert text.startswith(console.connected(peer)) and text.endswith(console.reopened(peer))
        return text.removeprefix(console.connected(peer)).removesuffix(console.reopened(peer))


@pytest.fixture
def said(shared_rig):
    return Said(shared_rig)


@pytest.mark.parametrize("length", [19, 1027, 0x7FFFFFFF])
def test_header_length_that_is_too_short_or_too_long_reports_516(said, length):
    assert said(packets.raw_header(length)) == console.HEADER_REFUSED + console.failed(516)


@pytest.mark.parametrize("length", [7, 1025, 0x7FFFFFFF])
def test_status_length_that_is_too_short_or_too_long_reports_1027(said, length):
    assert said(packets.HEADER + packets.raw_status(length)) == console.STATUS_REFUSED + console.failed(1027)


@pytest.mark.parametrize("before", [
    *(pytest.param(packets.raw_header(length), id=f"header {length}") for length in (20, 1026)),
    *(pytest.param(packets.header(2) + packets.raw_status(length), id=f"status {length}")
      for length in (8, 1024)),
])
def test_longest_and_shortest_lengths_are_taken_and_the_next_packet_is_found(said, before):
    assert said(before + FOLLOWING) == (
        console.file_named("following.bin") + console.closed_by_peer("DataProcHeader<pos:0>:") + console.failed(259))
    assert said.rig.stored("following.bin") == b"f"


def test_name_lengths_are_counted_exactly(said):
    said(packet.file_packet("n", b"1") + packet.file_packet("n" * 255, b"255") + FOLLOWING)

    assert [said.rig.stored(name) for name in ("n", "n" * 255, "following.bin")] == [b"1", b"255", b"f"]


@pytest.mark.parametrize("announced", [101, 0xFFFFFFFF])
def test_data_length_beyond_the_stream_keeps_what_came(said, announced):
    text = said(packets.BEFORE_FILE + packets.file_head(b"beyond.bin", announced) + bytes(100))

    assert said.rig.stored("beyond.bin") == bytes(100)
    assert text == (console.file_named("beyond.bin") + console.closed_by_peer("DataProcHeader<pos:0>:") +
                    console.failed(259))


def test_data_length_shorter_than_the_data_makes_the_rest_the_next_header(said):
    text = said(packets.BEFORE_FILE + packets.file_head(b"shorter.bin", 10) + bytes(range(10)) + bytes(90))

    assert said.rig.stored("shorter.bin") == bytes(range(10))
    assert text == console.file_named("shorter.bin") + console.HEADER_REFUSED + console.failed(516)


def test_name_length_beyond_the_stream_reports_1027(said):
    text = said(packets.BEFORE_FILE + packets.file_head(b"abc", 0, name_length=1023))

    assert text == console.closed_by_peer("DataRxFileElement<pos:1>:") + console.failed(1027)
