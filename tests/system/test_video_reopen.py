"""The video watch when eth0 goes and comes back, and when its capture cannot be opened at first."""

import pytest

from quendal_tools.configuration.example import VIDEO_GROUP as GROUP
from support import moved, multicast
from support.rig import LINK_UP_SECONDS
from support.stream import stream

OPENED = "\npcap_open_live OK!\n\nhandle ether, DLT: 1"
OPEN_FAILED = "\npcap_open_live, err:"
SILENCE = "NETW_UTIL_DN"
SILENT_SECONDS = 31
RETRY_SECONDS = 10
LOSS_SECONDS = 40
SLACK = 8  # what a busy machine may add


@pytest.fixture
def watching(make_rig):
    rig = make_rig(ini={"videoMcIp": GROUP})
    rig.await_open()
    rig.service.wait_for(OPENED)
    return rig


def assert_stream_is_seen(rig):
    with stream(rig.board, GROUP, interval=0.5), pytest.raises(TimeoutError):
        rig.display.wait_for(SILENCE, timeout=SILENT_SECONDS + SLACK)


@pytest.mark.long(100)
def test_interface_that_comes_back_with_the_link_is_watched_again(watching):
    rig = watching
    mark = rig.service.mark()
    moved.take_interface(rig.board)
    multicast.await_paused(rig, mark)

    moved.return_interface(rig.board)
    rig.display.wait_for("NETW_UP", count=2, timeout=LOSS_SECONDS)
    rig.service.wait_for(OPENED, timeout=LINK_UP_SECONDS, after=mark)

    assert_stream_is_seen(rig)
    assert rig.service.stderr_text().count(OPENED) == 2
    assert rig.service.stderr_text().count(OPEN_FAILED) <= 1


@pytest.mark.long(100)
def test_interface_that_was_replaced_within_a_cycle_is_watched_again_ten_seconds_later(watching):
    rig = watching
    mark = rig.service.mark()

    moved.replace_interface(rig.board, "link set eth0 up", f"address add {rig.board.address}/24 dev eth0")
    rig.service.wait_for(OPENED, timeout=2 * RETRY_SECONDS + SLACK, after=mark)

    assert_stream_is_seen(rig)
    assert rig.service.stderr_text().count(OPENED) == 2
    assert rig.display.names() == ["NETW_UP"]


@pytest.mark.long(60)
def test_capture_that_cannot_be_opened_says_so_once_and_nothing_else_suffers(make_rig):
    rig = make_rig(ini={"videoMcIp": GROUP}, wrapper=["setpriv", "--bounding-set=-all", "--inh-caps=-all"])
    rig.await_open()
    rig.service.wait_for(OPEN_FAILED)
    linked, cpu = rig.display.wait_for("NETW_UP"), rig.service.cpu_seconds()

    silent = rig.display.wait_for(SILENCE, timeout=SILENT_SECONDS + SLACK)

    assert silent - linked >= SILENT_SECONDS - 2
    assert rig.service.stderr_text().count(OPEN_FAILED) == 1
    assert rig.service.cpu_seconds() - cpu < 1
