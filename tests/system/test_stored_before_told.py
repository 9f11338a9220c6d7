"""What RXCOMPLETE reports is on the disk, as long as the disk can be waited for."""

import time

import pytest

from quendal_tools.protocol import packet
from quendal_tools.board.waiting import wait_until
from quendal_tools.board import console
from support.disk import Disk
from support.rig import NOTICED_LATE, peer_of

LIST = packet.file_packet("FileList.sys", b"a\r\n")
DONT_CARE_LIST = packet.file_packet("FLDnCare.sys", b"a\r\n")
STOP = packet.file_packet("kvXferStop.sys", b"stop")
DATA = packet.file_packet("data.bin", b"data" * 1000)
LONGER_THAN_THE_MARKER_WAITS = 8
MOST_SECONDS = 60


def told_all_the_same(seconds):
    return f"\nReceived files are not on the disk after {seconds} s, the display is told all the same"


@pytest.fixture
def disk(quendal):
    return Disk(quendal)


@pytest.fixture
def rig(make_rig, disk):
    rig = make_rig(before_start=disk.before_start, env=disk.env)
    rig.await_ready()
    return rig


def told(rig, name):
    """When the display was woken by this event, which must have come once."""
    moments = [moment for moment, event in rig.display.events() if event == name]
    assert len(moments) == 1
    return moments[0]


@pytest.mark.parametrize("start", [LIST, DONT_CARE_LIST], ids=["normal", "don't care"])
def test_complete_is_not_told_before_the_disk_has_the_files(rig, disk, start):
    mark = rig.service.mark()
    with rig.session() as connection:
        disk.hold()
        connection.sendall(start + DATA + STOP)
        rig.service.wait_for("kvXferStop.sys", after=mark)
        time.sleep(LONGER_THAN_THE_MARKER_WAITS)
        assert "RXCOMPLETE" not in rig.display.names()

        disk.release()

        rig.display.wait_for("RXCOMPLETE", timeout=5)
    assert rig.stored("kvXferStop.sys", *(["/tmp/Dest"] if start is DONT_CARE_LIST else [])) == b"stop"
    assert "disk" not in rig.text_since(mark)


def test_a_failed_transfer_releases_the_display_once_the_disk_has_what_came_before(rig, disk):
    mark = rig.service.mark()
    with rig.connect() as connection:
        disk.hold()
        connection.sendall(DATA + packet.file_packet("../x", b""))
        rig.service.wait_for("must not lead upwards", after=mark)
        time.sleep(LONGER_THAN_THE_MARKER_WAITS)
        assert "RXCOMPLETE" not in rig.display.names()

        disk.release()

        rig.display.wait_for("RXCOMPLETE", timeout=5)
        rig.service.wait_for(console.failed(1537), after=mark)


@pytest.mark.long(80)
def test_a_disk_that_hangs_is_waited_for_sixty_seconds_and_said_so(rig, disk):
    mark = rig.service.mark()
    with rig.connect() as connection:
        disk.hold()
        connection.sendall(LIST + DATA + STOP)
        rig.display.wait_for("RXCOMPLETE", timeout=MOST_SECONDS + 15)

        waited = told(rig, "RXCOMPLETE") - told(rig, "START2RX")
        assert MOST_SECONDS - NOTICED_LATE <= waited <= MOST_SECONDS + 2
        rig.await_stored("kvXferStop.sys", b"stop")
        assert rig.text_since(mark).endswith(console.file_named("kvXferStop.sys") + told_all_the_same(MOST_SECONDS))
        disk.release()


def test_an_error_of_the_disk_is_a_line_before_the_display_is_told(rig, disk):
    mark = rig.service.mark()
    disk.fail()
    with rig.session() as connection:
        peer = peer_of(connection)
        connection.sendall(STOP.replace(b"kvXferStop", b"notYetStop") + STOP)
        rig.display.wait_for("RXCOMPLETE", timeout=10)
        text = rig.text_since(mark)

    assert text.startswith(console.connected(peer) + console.file_named("notYetStop.sys") +
                           console.file_named("kvXferStop.sys") +
                           "\nReceived files cannot be written to the disk: /data/app/kavenor/Target/: "
                           "Input/output error")


def test_a_connection_without_a_stop_marker_has_its_files_written_back_with_nobody_waiting(rig, disk):
    disk.hold()
    rig.send(DATA)  # and the port is open again
    assert disk.syncs() == 0

    disk.release()

    wait_until(lambda: disk.syncs() > 0, 5, "the files' way to the disk")
    rig.assert_woken("NETW_UP")


def test_a_stop_does_not_wait_for_a_disk_longer_than_the_display_needs(rig, disk):
    with rig.connect() as connection:
        disk.hold()
        connection.sendall(LIST + DATA + STOP)
        rig.display.wait_for("START2RX")
        rig.service.terminate()

        assert rig.service.wait(15) == 0
    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
    assert told_all_the_same(5) in rig.text_since(0)


def test_a_pause_does_not_wait_for_a_disk_longer_than_the_display_needs(rig, disk):
    with rig.connect() as connection:
        disk.hold()
        connection.sendall(LIST + DATA + STOP)
        rig.display.wait_for("START2RX")
        rig.board.cable(False)
        rig.display.wait_for("NETW_DN", timeout=20)

        rig.service.wait_for(console.CLOSED, timeout=20)
    assert "RXCOMPLETE" in rig.display.names()
    assert told(rig, "RXCOMPLETE") - told(rig, "START2RX") < 30
    disk.release()
    rig.board.cable(True)
