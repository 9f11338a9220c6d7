"""What a transmitter learns from the end of its connection, on every way that a transfer can go."""

import socket
import threading
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from quendal_tools.protocol.patient import PatientConnection
from quendal_tools.protocol.receipt import Lost, await_receipt
from quendal_tools.protocol.sending import Transmitter

PATIENCE = 75
NOT_STORED = "could not be stored"


def transmit(rig, *files, marker=False, list_file=False):
    """Sends these (name, data) pairs and asks for the receipt; Lost when there is none."""
    with rig.connect() as plain, Transmitter(lambda: PatientConnection(plain)) as transmitter:
        try:
            if list_file:
                transmitter.begin([name for name, _ in files])
            for name, data in files:
                transmitter.send_bytes(name, data)
            if marker:
                transmitter.end()
        except OSError as error:
            raise Lost(str(error)) from error
        await_receipt(transmitter.connection, PATIENCE)


@pytest.mark.parametrize("size", [0, 1, 1024, 3_000_000])
def test_files_that_are_stored_give_a_receipt_within_a_second(shared_rig, size):
    begin = time.monotonic()
    transmit(shared_rig, ("first.bin", bytes(size)), ("last.bin", bytes(size)))

    assert time.monotonic() - begin < 3
    assert len(shared_rig.stored("last.bin")) == size


def test_a_stop_marker_takes_its_five_seconds_and_gives_a_receipt(shared_rig):
    begin = time.monotonic()
    transmit(shared_rig, ("a.bin", b"a"), list_file=True, marker=True)

    assert 5 <= time.monotonic() - begin < 8


@pytest.mark.parametrize("size", [0, 1, 500_000])
def test_a_refused_name_gives_none_whether_last_or_not(shared_rig, size):
    refused = ("../out.bin", bytes(size))
    for files in ([refused], [refused, ("after.bin", b"a")], [("before.bin", b"b"), refused]):
        with pytest.raises(Lost):
            transmit(shared_rig, *files)


def test_why_nothing_was_stored_is_told_from_how_late_the_end_comes(shared_rig):
    with pytest.raises(Lost, match=NOT_STORED):
        transmit(shared_rig, ("missing/folder.bin", b"x"))


@pytest.mark.parametrize("size", [32 * 1024 + 1, 40_000, 200_000])
def test_a_disk_that_is_full_at_the_last_file_gives_none(make_rig, size):
    """The failure comes when all has been read; without something behind it the connection would end in order."""
    rig = make_rig(before_start=lambda board: board.run(
        ["mount", "-t", "tmpfs", "-o", "size=32k", "tmpfs", TARGET], check=True))
    rig.await_open()

    with pytest.raises(Lost, match=NOT_STORED):
        transmit(rig, ("clip.ts", bytes(size)))
    rig.await_open(rig.service.wait_for(console.CLOSED))
    transmit(rig, ("clip.ts", bytes(1000)))


def test_a_disk_without_room_for_another_name_gives_none_for_an_empty_last_file(make_rig):
    rig = make_rig(before_start=lambda board: board.run(
        ["mount", "-t", "tmpfs", "-o", "nr_inodes=2", "tmpfs", TARGET], check=True))
    rig.await_open()

    with pytest.raises(Lost, match=NOT_STORED):
        transmit(rig, ("first", b"1"), ("second", b""))


def test_another_connection_that_ends_in_between_leaves_no_receipt(shared_rig):
    """The half of the file that is still to come is never read."""
    with shared_rig.connect() as plain, Transmitter(lambda: PatientConnection(plain)) as transmitter:
        transmitter.send_bytes("mine.bin", b"mine")
        shared_rig.await_read(plain)
        with shared_rig.connect():
            pass
        time.sleep(1.5)

        with pytest.raises(Lost):
            await_receipt(transmitter.connection, PATIENCE)


def test_a_connection_in_the_gap_after_another_one_is_lost_and_the_next_one_is_not(shared_rig):
    with shared_rig.connect():
        pass

    with shared_rig.board.pc.connect(DATA_PORT) as plain, Transmitter(
            lambda: PatientConnection(plain)) as transmitter:
        with pytest.raises((Lost, OSError)):
            transmitter.send_bytes("gap.bin", b"gap")
            await_receipt(transmitter.connection, PATIENCE)
    transmit(shared_rig, ("gap.bin", b"gap"))


@pytest.mark.long(40)
def test_a_link_that_drops_while_the_receipt_is_awaited_gives_none(make_rig):
    rig = make_rig()
    rig.await_ready()
    with rig.connect() as plain, Transmitter(lambda: PatientConnection(plain)) as transmitter:
        transmitter.send_bytes("kvXferStop.sys", b"")
        rig.await_read(plain)
        rig.board.cable(up=False)
        raised = []

        def ask():
            try:
                await_receipt(transmitter.connection, 20)
            except Lost as lost:
                raised.append(lost)

        asking = threading.Thread(target=ask)
        asking.start()
        asking.join(60)
        rig.board.cable(up=True)
    assert len(raised) == 1


def test_a_service_that_is_stopped_before_it_has_read_gives_none(make_rig):
    rig = make_rig()
    rig.await_ready()
    with rig.connect() as plain, Transmitter(lambda: PatientConnection(plain)) as transmitter:
        transmitter.send_bytes("kvXferStop.sys", b"")
        shut = threading.Timer(1, rig.service.terminate)
        shut.start()

        with pytest.raises(Lost):
            transmitter.send_bytes("a.bin", b"a")
            await_receipt(transmitter.connection, PATIENCE)
        shut.join()


def test_without_the_seal_an_empty_file_that_is_refused_would_seem_stored(shared_rig):
    """What the seal is for: the refused file's last byte has been read when the connection is dropped."""
    with shared_rig.connect() as plain, Transmitter(lambda: PatientConnection(plain)) as transmitter:
        plain.settimeout(None)
        transmitter.connection.sendall(packet.file_packet("../out.bin", b""))
        plain.shutdown(socket.SHUT_WR)
        plain.setblocking(True)
        assert plain.recv(1) == b""


def test_two_dozen_files_of_a_transfer_that_fails_in_the_middle_give_none(shared_rig):
    files = [(f"file{number}.bin", bytes(10_000)) for number in range(24)]
    files[11] = ("nowhere/file11.bin", b"")

    with pytest.raises(Lost):
        transmit(shared_rig, *files, list_file=True, marker=True)
    assert shared_rig.stored("file12.bin") is None


def test_a_staged_transfer_is_confirmed_when_it_is_in_place_and_not_when_it_is_thrown_away(make_rig):
    rig = make_rig(ini={"storeMode": "staged"})
    rig.await_open()

    transmit(rig, ("a.bin", b"old"), list_file=True, marker=True)
    assert rig.stored("a.bin") == b"old"
    mark = rig.service.mark()
    with pytest.raises(Lost, match=NOT_STORED):
        transmit(rig, ("a.bin", b"new"), ("nowhere/b.bin", b"b"), list_file=True, marker=True)
    rig.await_open(mark)
    assert rig.stored("a.bin") == b"old"


@pytest.mark.parametrize("size", [0, 1000, 500_000])
def test_a_sender_that_is_not_listened_to_gets_none(make_rig, size):
    """Its connection is closed as soon as it is accepted, perhaps before anything has come that could be left over."""
    rig = make_rig(ini={"allowedSenders": "10.9.8.7"})
    rig.await_open()

    with pytest.raises((Lost, OSError)):
        with rig.board.pc.connect(DATA_PORT) as plain, Transmitter(lambda: PatientConnection(plain)) as transmitter:
            transmitter.send_bytes("a.bin", bytes(size))
            await_receipt(transmitter.connection, PATIENCE)
    assert rig.stored("a.bin") is None
