"""What the display is told about transfers, and when."""

import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol import packet
from support import packets
from support.rig import NOTICED_LATE, REOPEN_SECONDS, peer_of

LIST = packet.file_packet("FileList.sys", b"a\r\n")
DONT_CARE_LIST = packet.file_packet("FLDnCare.sys", b"a\r\n")
STOP = packet.file_packet("kvXferStop.sys", b"")
DATA = packet.file_packet("data.bin", b"data")


class Transfer:
    def __init__(self, rig):
        self.rig = rig

    def __call__(self, *sent, wanted):
        """Sends packets on one connection and gives the events [(time, name)] once they are as many as wanted."""
        known = len(self.rig.display.events())
        with self.rig.session() as connection:
            connection.sendall(b"".join(sent))
            return wait_until(
                lambda: (events := self.rig.display.events()[known:])[wanted - 1:] and events, 30, f"{wanted} events")


@pytest.fixture
def transfer(rig):
    return Transfer(rig)


def names(events):
    return [name for _, name in events]


def seconds_between(events):
    return [later - earlier for (earlier, _), (later, _) in zip(events, events[1:])]


def test_normal_transfer_posts_start_at_the_stop_marker_and_complete_five_seconds_later(transfer):
    events = transfer(LIST, DATA, STOP, wanted=2)

    assert names(events) == ["START2RX", "RXCOMPLETE"]
    assert seconds_between(events)[0] >= 5 - NOTICED_LATE
    transfer.rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
    for name, data in (("FileList.sys", b"a\r\n"), ("data.bin", b"data"), ("kvXferStop.sys", b"")):
        assert transfer.rig.stored(name) == data


def test_without_a_list_file_the_mode_is_normal(transfer):
    assert names(transfer(STOP, wanted=2)) == ["START2RX", "RXCOMPLETE"]


def test_dont_care_transfer_posts_257_at_its_list_and_only_complete_at_the_stop_marker(transfer):
    rig = transfer.rig
    with rig.session() as connection:
        connection.sendall(DONT_CARE_LIST + DATA)
        listed = rig.display.wait_for("START2RXDUNCARE")
        rig.await_stored("data.bin", b"data", directory="/tmp/Dest")
        mark = rig.service.mark()
        connection.sendall(STOP)
        rig.service.wait_for("kvXferStop.sys", after=mark)
        completed = rig.display.wait_for("RXCOMPLETE")

    assert completed - listed >= 5 - NOTICED_LATE
    rig.assert_woken("NETW_UP", "START2RXDUNCARE", "RXCOMPLETE")
    for name in ("FLDnCare.sys", "data.bin", "kvXferStop.sys"):
        assert rig.stored(name) is None
        assert rig.stored(name, "/tmp/Dest") is not None


def test_dont_care_mode_outlives_the_connection_until_a_file_list_ends_it(transfer):
    transfer.rig.send(DONT_CARE_LIST)
    transfer.rig.send(packet.file_packet("one.bin", b"1"))
    transfer.rig.send(LIST)
    transfer.rig.send(packet.file_packet("two.bin", b"2"))

    assert transfer.rig.stored("one.bin") is None
    assert transfer.rig.stored("one.bin", "/tmp/Dest") == b"1"
    assert transfer.rig.stored("two.bin") == b"2"
    assert transfer.rig.stored("FileList.sys") == b"a\r\n"


def test_markers_count_anywhere_in_a_longer_name_and_in_table_order(transfer):
    both = packet.file_packet("xFLDnCare.sys.FileList.sys.bak", b"1")
    with_stop = packet.file_packet("FLDnCare.sys_kvXferStop.sys", b"2")

    events = transfer(both, with_stop, wanted=3)

    assert names(events) == ["START2RXDUNCARE", "START2RXDUNCARE", "RXCOMPLETE"]
    assert transfer.rig.stored("xFLDnCare.sys.FileList.sys.bak", "/tmp/Dest") == b"1"
    assert transfer.rig.stored("FLDnCare.sys_kvXferStop.sys", "/tmp/Dest") == b"2"


@pytest.mark.parametrize("name", ["filelist.sys", "FLDNCARE.SYS", "KVXFERSTOP.SYS", "FileList_sys", "kvXferStop"])
def test_names_that_only_resemble_a_marker_post_nothing(shared_rig, name):
    known = shared_rig.display.names()

    shared_rig.send(packet.file_packet(name, b"x"))
    shared_rig.send(packets.header(1))

    assert shared_rig.display.names() == known
    assert shared_rig.stored(name) == b"x"


def test_stop_marker_acts_before_its_data_is_read(rig):
    head = packet.file_head("kvXferStop.sys", 4)
    with rig.session() as connection:
        connection.sendall(head)
        rig.display.wait_for("RXCOMPLETE")
        rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
        assert rig.stored("kvXferStop.sys") in (None, b"")
        connection.sendall(b"stop")
        rig.await_stored("kvXferStop.sys", b"stop")


def test_stop_marker_holds_up_every_other_connection_for_its_five_seconds(rig):
    with rig.session() as first, rig.connect() as second:
        first.sendall(STOP)
        rig.display.wait_for("START2RX")
        second.sendall(DATA)
        completed = rig.display.wait_for("RXCOMPLETE")
        rig.await_stored("data.bin", b"data")
    stored_at = rig.board.path("/data/app/kavenor/Target/data.bin").stat().st_mtime
    assert stored_at >= completed - NOTICED_LATE


def test_transfer_that_fails_in_the_stop_marker_still_releases_the_display(rig):
    mark = rig.service.mark()
    head = packet.file_head("kvXferStop.sys", 4)

    peer = rig.send(head[:-4])

    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named("kvXferStop.sys") +
        console.closed_by_peer("DataRxFileElement<pos:2>:") + console.failed(771) + console.reopened(peer))


def test_failed_store_posts_complete_after_five_seconds_and_then_reports_1537(rig):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.sendall(packet.file_packet("../x", b"x"))
        rig.service.wait_for("pos:3>", after=mark)
        refused = time.time()
        completed = rig.display.wait_for("RXCOMPLETE")
        rig.await_open(mark, REOPEN_SECONDS)
        peer = peer_of(connection)

    assert completed - refused >= 5 - NOTICED_LATE
    rig.assert_woken("NETW_UP", "RXCOMPLETE")
    assert rig.text_since(mark).endswith(console.failed(1537) + console.reopened(peer))
