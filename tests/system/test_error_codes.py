"""Error codes of a connection, with the exact bytes on the error stream.

Each line of the tables is a beginning of the stream that is cut off at one point, by a close or by a reset.
"""

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support import packets
from support.rig import REOPEN_SECONDS, has_ended, peer_of, reset

pytestmark = pytest.mark.long(30)  # all together, on the board that they share

ELEMENT = packets.file_head(b"code.bin", 100)
NAMED = console.file_named("code.bin")
RESET = "Connection reset by peer"
HALF_SECOND_AND_A_LOADED_MACHINE = 5

HEADER_0, STATUS_1 = "DataProcHeader<pos:0>:", "DataRxCmdStatus<pos:1>:"
FILE_1, FILE_2 = "DataRxFileElement<pos:1>:", "DataRxFileElement<pos:2>:"

BEFORE_NAME = packets.BEFORE_FILE + ELEMENT[:packets.HEAD_LENGTH]
BEFORE_DATA_LENGTH = packets.BEFORE_FILE + ELEMENT[:-packets.LENGTH_FIELD]

# One of each element; the unit tests cut the stream at every other point, too.
CLOSED = {
    "header_length_259": (b"", 259, HEADER_0),
    "rest_of_status_771": (packets.HEADER + packets.STATUS[:4], 771, STATUS_1),
    "data_length_771": (BEFORE_DATA_LENGTH, 771, FILE_2),
}

RESETS = {
    "header_length_259": (b"", 259, HEADER_0, HEADER_0),
    "name_1025": (BEFORE_NAME, 1025, FILE_1 + ":", ""),
}


def cases(table):
    return [pytest.param(*case, id=name) for name, case in table.items()]


def named_in(data):
    return NAMED if len(data) >= len(BEFORE_DATA_LENGTH) else ""


def text_of(rig, action):
    """What the service writes from a connection's begin to the port's re-opening, and the connection's name."""
    mark = rig.service.mark()
    connection = rig.connect()
    peer = peer_of(connection)
    action(connection)
    rig.await_open(mark, REOPEN_SECONDS)
    connection.close()
    return rig.text_since(mark), peer


@pytest.mark.parametrize("data, code, place", cases(CLOSED))
def test_closed_by_the_peer_before(shared_rig, data, code, place):
    def send_and_close(connection):
        connection.sendall(data)
        connection.close()

    text, peer = text_of(shared_rig, send_and_close)

    assert text == (console.connected(peer) + named_in(data) + console.closed_by_peer(place) +
                    console.failed(code) + console.reopened(peer))


@pytest.mark.parametrize("data, code, place, closed_place", cases(RESETS))
def test_reset_by_the_peer_before(shared_rig, data, code, place, closed_place):
    def send_and_reset(connection):
        connection.sendall(data)
        reset(connection)

    text, peer = text_of(shared_rig, send_and_reset)

    closed = console.closed_by_peer(closed_place) if closed_place else ""
    assert text == (console.connected(peer) + named_in(data) + console.exception(place, RESET) + closed +
                    console.failed(code) + console.reopened(peer))


def test_wrong_signature_closes_every_connection_and_reports_516(shared_rig):
    mark = shared_rig.service.mark()
    others = [shared_rig.connect() for _ in range(3)]
    bad = shared_rig.connect()
    peers = [peer_of(connection) for connection in (*others, bad)]

    bad.sendall(packets.header(3, signature=packet.SIGNATURE + 1) + packets.STATUS + ELEMENT + bytes(100))
    shared_rig.await_open(mark)

    for connection in (*others, bad):
        wait_until(lambda: has_ended(connection), 5, "the connection's end")
        connection.close()
    text = shared_rig.text_since(mark)
    begin = console.connected(*peers) + console.HEADER_REFUSED + console.failed(516)
    before, after = console.reopened("").split(console.disconnected(""))
    assert text.startswith(begin + before) and text.endswith(after)
    farewells = text.removeprefix(begin + before).removesuffix(after)
    assert sorted(farewells.splitlines()) == sorted(console.disconnected(*peers).splitlines())
    assert shared_rig.stored("code.bin") is None


def test_wrong_status_kind_reports_1027(shared_rig):
    text, peer = text_of(shared_rig, lambda connection: connection.sendall(
        packets.HEADER + packets.status(kind=3)))

    assert text == (console.connected(peer) +
                    console.STATUS_REFUSED + console.failed(1027) + console.reopened(peer))


def test_reset_in_the_data_reports_1537_after_five_seconds(shared_rig):
    completed = shared_rig.display.names().count("RXCOMPLETE")

    text, peer = text_of(shared_rig, lambda connection: (
        connection.sendall(packets.BEFORE_FILE + ELEMENT + bytes(50)), reset(connection)))

    assert text == (console.connected(peer) + NAMED + console.exception("DataRxFileElement<pos:3>::", RESET) +
                    console.failed(1537) + console.reopened(peer))
    shared_rig.display.wait_for("RXCOMPLETE", completed + 1)


def test_connection_reset_before_it_is_served_is_only_reported(shared_rig):
    mark = shared_rig.service.mark()
    with shared_rig.session() as first:
        # Keeps the service busy inside a packet, so that the next connection cannot be accepted yet.
        first.sendall(packets.HEADER[:6])
        shared_rig.await_read(first)
        shared_rig.reset(shared_rig.board.pc.connect(DATA_PORT))
        first.sendall(packets.header(1)[6:])
        shared_rig.service.wait_for("A connection was lost before it was served: ", after=mark)
        name = peer_of(first)

    assert shared_rig.text_since(mark) == (
        console.connected(name) +
        "A connection was lost before it was served: Net Exception: Socket is not connected\n" +
        console.closed_by_peer(HEADER_0) + console.failed(259) + console.reopened(name))


def test_service_is_open_again_about_half_a_second_after_an_error(shared_rig):
    with shared_rig.connect() as connection:
        mark = shared_rig.service.mark()
        connection.sendall(bytes(20))
        shared_rig.service.wait_for("Err RC:516", after=mark)
        shared_rig.await_open(mark, HALF_SECOND_AND_A_LOADED_MACHINE)
    shared_rig.assert_good_transfer()
