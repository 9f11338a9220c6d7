"""A target directory on a disk that is really full."""

import contextlib

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.protocol import packet
from support.rig import peer_of

SMALL_ENOUGH_FOR_ONE_BUFFER = 40_000


def mount_small_disk(board):
    board.run(["mount", "-t", "tmpfs", "-o", "size=32k", "tmpfs", TARGET], check=True)


@pytest.mark.parametrize("size", [SMALL_ENOUGH_FOR_ONE_BUFFER, 200_000, 5_000_000])
def test_full_disk_reports_pos_3_releases_the_display_and_a_later_transfer_arrives(make_rig, size):
    rig = make_rig(before_start=mount_small_disk)
    rig.await_open()
    mark = rig.service.mark()

    with rig.session() as connection:
        peer = peer_of(connection)
        # The service drops the connection with most of a big file still to come.
        with contextlib.suppress(ConnectionError):
            connection.sendall(packet.file_packet("clip.ts", bytes(size)))
        rig.service.wait_for(console.failed(1537), timeout=20, after=mark)

    rig.assert_woken("NETW_UP", "RXCOMPLETE")
    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named("clip.ts") +
        console.exception("DataRxFileElement<pos:3>::",
                          f"Cannot write file: {TARGET}/clip.ts: No space left on device") +
        console.failed(1537) + console.reopened(peer))

    rig.board.run(["rm", f"{TARGET}/clip.ts"], check=True)
    rig.assert_good_transfer(size=20_000)


def test_disk_without_room_for_another_file_name_reports_pos_3(make_rig):
    rig = make_rig(before_start=lambda board: board.run(
        ["mount", "-t", "tmpfs", "-o", "nr_inodes=2", "tmpfs", TARGET], check=True))
    rig.await_open()
    rig.send(packet.file_packet("first", b"1"))
    mark = rig.service.mark()

    peer = rig.send(packet.file_packet("second", b"2"))

    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named("second") +
        console.exception("DataRxFileElement<pos:3>::",
                          f"Cannot create file: {TARGET}/second: No space left on device") +
        console.failed(1537) + console.reopened(peer))
    rig.send(packet.file_packet("first", b"replaced"))
    assert rig.board.run(["cat", f"{TARGET}/first"]).stdout == "replaced"


def test_read_only_disk_reports_pos_3(make_rig):
    rig = make_rig(before_start=lambda board: board.run(
        ["mount", "-t", "tmpfs", "-o", "ro", "tmpfs", TARGET], check=True))
    rig.await_open()
    mark = rig.service.mark()

    peer = rig.send(packet.file_packet("x", b"x"))

    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named("x") +
        console.exception("DataRxFileElement<pos:3>::",
                          f"File access error: {TARGET}/x: Read-only file system") +
        console.failed(1537) + console.reopened(peer))
