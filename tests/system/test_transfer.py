"""Files arrive byte for byte, and the stream goes on where it should."""

import random
import re
import socket

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from quendal_tools.protocol.control_files import STOP_MARKER
from support import packets
from support.rig import await_acknowledged, peer_of

SIZES = [1, 1023, 1024, 1025, 65535, 65536, 65537, 1_000_000]
EMPTY = packet.file_packet("end.bin", b"")


def content(size):
    return random.Random(size).randbytes(size)


def test_port_is_open_on_every_address_and_sixty_four_connections_may_wait(shared_rig):
    state, _, waiting, address, *_ = shared_rig.board.run(
        ["ss", "-ltnH", f"sport = :{DATA_PORT}"], check=True).stdout.split()

    assert (state, int(waiting), address) == ("LISTEN", 64, f"0.0.0.0:{DATA_PORT}")


def test_files_of_all_sizes_on_one_connection_are_stored_as_sent(shared_rig):
    shared_rig.send(*(packet.file_packet(f"size{size}.bin", content(size)) for size in SIZES))

    for size in SIZES:
        assert shared_rig.stored(f"size{size}.bin") == content(size), size


def test_exact_console_text_of_a_transfer(shared_rig):
    mark = shared_rig.service.mark()

    peer = shared_rig.send(packet.file_packet("FileList.sys", b"a.bin\r\n"), packet.file_packet("a.bin", b"a"))

    assert shared_rig.text_since(mark) == (
        console.connected(peer) + console.file_named("FileList.sys") + console.file_named("a.bin") +
        console.closed_by_peer("DataProcHeader<pos:0>:") + console.failed(259) + console.reopened(peer))
    assert shared_rig.stored("FileList.sys") == b"a.bin\r\n"


def test_sixty_megabytes_arrive_as_sent(shared_rig):
    piece = content(1_000_000)
    with shared_rig.session() as connection:
        connection.sendall(packet.file_head("big.bin", 60 * len(piece)))
        for _ in range(60):
            connection.sendall(piece)
        shared_rig.await_stored("big.bin", 60 * piece, timeout=60)
    shared_rig.board.path(f"{TARGET}/big.bin").unlink()


def test_stream_cut_into_single_bytes_is_put_together_again(shared_rig):
    with shared_rig.session() as connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for byte in packet.file_packet("bytes.bin", b"0123456789"):
            connection.sendall(bytes([byte]))
            await_acknowledged(connection)
        shared_rig.await_stored("bytes.bin", b"0123456789")


def test_data_length_zero_leaves_an_empty_file_and_replaces_the_earlier_one(shared_rig):
    shared_rig.send(packet.file_packet("empty.bin", b"something"))
    assert shared_rig.stored("empty.bin") == b"something"

    shared_rig.send(packet.file_packet("empty.bin", b""))

    assert shared_rig.stored("empty.bin") == b""


def test_shorter_file_replaces_a_longer_one_and_nothing_of_it_is_left(shared_rig):
    shared_rig.send(packet.file_packet("again.bin", content(5000)), packet.file_packet("again.bin", b"short"))

    assert shared_rig.stored("again.bin") == b"short"


def test_file_that_another_program_has_open_keeps_its_old_content_there(shared_rig):
    shared_rig.send(packet.file_packet("held.bin", b"old"))
    with shared_rig.board.path(f"{TARGET}/held.bin").open("rb") as held:
        shared_rig.send(packet.file_packet("held.bin", b"new"))

        assert held.read() == b"old"
    assert shared_rig.stored("held.bin") == b"new"


@pytest.mark.parametrize("arrived", [0, 1, 5000])
def test_file_cut_short_by_a_close_is_kept_truncated_and_is_no_failure_of_its_own(shared_rig, arrived):
    data = content(9000)
    mark = shared_rig.service.mark()

    peer = shared_rig.send(packet.file_head("cut.bin", 9000) + data[:arrived])

    assert shared_rig.stored("cut.bin") == data[:arrived]
    assert shared_rig.text_since(mark) == (
        console.connected(peer) + console.file_named("cut.bin") +
        console.closed_by_peer("DataProcHeader<pos:0>:") + console.failed(259) + console.reopened(peer))


@pytest.mark.parametrize("first", [
    pytest.param(packets.header(0), id="no element"),
    pytest.param(packets.header(1), id="header only"),
    pytest.param(packet.status_packet(), id="status"),
    pytest.param(packet.status_packet(packet.ALIVE_REQUEST, {"unit": 1, "column": 2, "group": 3}), id="alive request"),
    pytest.param(packets.header(4) + packets.status(), id="four elements"),
    pytest.param(packets.header(255) + packets.status(kind=2), id="255 elements"),
    pytest.param(packets.raw_header(1026), id="longest header"),
    pytest.param(packets.raw_header(21, 2) + packets.raw_status(8), id="shortest status"),
    pytest.param(packets.header(2) + packets.raw_status(1024), id="longest status"),
    pytest.param(packets.header(1, mark=0, reserved=255, request_word_a=0xFFFFFFFF), id="fields not examined"),
])
def test_next_packet_in_the_same_segment_is_read_after(shared_rig, first):
    shared_rig.board.path(f"{TARGET}/end.bin").unlink(missing_ok=True)
    with shared_rig.session() as connection:
        connection.sendall(first + EMPTY + first + packet.file_packet("after.bin", b"x"))

        shared_rig.await_stored("after.bin", b"x")
        assert shared_rig.stored("end.bin") == b""
        shared_rig.board.path(f"{TARGET}/after.bin").unlink()


def test_lengths_and_kind_of_the_file_element_are_not_looked_at(shared_rig):
    element = packet.FileHead.build({"name": b"odd.bin", "data_length": 3, "length": 0, "kind": 999, "reserved": 7})

    shared_rig.send(packets.BEFORE_FILE + element + b"odd" + EMPTY)

    assert shared_rig.stored("odd.bin") == b"odd"


def test_header_only_packet_leaves_the_connection_open(shared_rig):
    mark = shared_rig.service.mark()
    with shared_rig.session() as connection:
        for number in range(3):
            connection.sendall(packets.header(1) + packet.file_packet(f"on{number}.bin", b"on"))
            shared_rig.await_stored(f"on{number}.bin", b"on")
        assert shared_rig.text_since(mark) == console.connected(peer_of(connection)) + "".join(
            console.file_named(f"on{number}.bin") for number in range(3))


def test_two_connections_take_turns_packet_by_packet(shared_rig):
    files = {name: [packet.file_packet(f"{name}{number}.bin", name.encode()) for number in range(5)]
             for name in ("one", "two")}
    mark = shared_rig.service.mark()
    with shared_rig.session() as one, shared_rig.connect() as two:
        # While the service waits at the stop marker, both connections' packets gather.
        one.sendall(packet.file_packet(STOP_MARKER, b"") + b"".join(files["one"]))
        shared_rig.service.wait_for(console.file_named(STOP_MARKER), after=mark)
        two.sendall(b"".join(files["two"]))
        for name in files:
            shared_rig.await_stored(f"{name}4.bin", name.encode())

    turns = re.findall(r"fileAsciiName:(one|two)\d\.bin", shared_rig.text_since(mark))
    assert [set(turns[at:at + 2]) for at in range(0, len(turns), 2)] == 5 * [{"one", "two"}]


def test_five_thousand_small_files_on_one_connection_all_arrive(shared_rig):
    with shared_rig.session() as connection:
        connection.sendall(b"".join(
            packet.file_packet(f"many{number}.bin", number.to_bytes(4, "big")) for number in range(5000)))
        shared_rig.await_stored("many4999.bin", (4999).to_bytes(4, "big"), timeout=60)
    assert all(shared_rig.stored(f"many{number}.bin") == number.to_bytes(4, "big") for number in range(5000))
