"""The watch on the video stream: what is reported to the display, and when, with real packets from the PC's side."""

import signal
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import VIDEO_GROUP
from support.recording import recording, tcpdump_count
from support.rig import LINK_UP_SECONDS
from support.stream import OTHER_GROUP, PacketCounter, send, stream

OPENED = "\npcap_open_live OK!\n\nhandle ether, DLT: 1"
OPEN_FAILED = "\npcap_open_live, err:"
SILENCE = "NETW_UTIL_DN"
SILENT_SECONDS = 31
# The watch looks once a second, and the kernel keeps a packet for up to a second.
EARLY, LATE = 1.2, 6
FILTER = f"(ip multicast) and (dst {VIDEO_GROUP})"
NO_RIGHTS = ["setpriv", "--bounding-set=-all", "--inh-caps=-all"]


@pytest.fixture
def watching(make_rig):
    """Starts a service that watches the stream, and waits for its capture."""
    def start(**options):
        rig = make_rig(ini={"videoMcIp": VIDEO_GROUP}, **options)
        rig.await_open()
        rig.service.wait_for(OPENED)
        return rig

    return start


def assert_is_31_seconds(begin, end):
    assert SILENT_SECONDS - EARLY <= end - begin < SILENT_SECONDS + LATE


def silences(rig):
    return rig.display.names().count(SILENCE)


@pytest.mark.long(75)
def test_stream_that_never_comes_is_reported_after_31_seconds_and_every_31_seconds_again(watching):
    rig = watching()
    linked = rig.display.wait_for("NETW_UP")

    first = rig.display.wait_for(SILENCE, timeout=45)
    second = rig.display.wait_for(SILENCE, count=2, timeout=45)

    assert_is_31_seconds(linked, first)
    assert_is_31_seconds(first, second)
    assert second - first >= SILENT_SECONDS - 0.1
    assert rig.display.names() == ["NETW_UP", SILENCE, SILENCE]


@pytest.mark.long(100)
def test_stream_that_stops_is_reported_31_seconds_later_and_a_single_packet_puts_that_off(watching):
    rig = watching()
    with stream(rig.board, VIDEO_GROUP):
        time.sleep(8)
    stopped = time.time()

    first = rig.display.wait_for(SILENCE, timeout=45)
    time.sleep(20)
    send(rig.board, VIDEO_GROUP)
    single = time.time()
    second = rig.display.wait_for(SILENCE, count=2, timeout=45)

    assert_is_31_seconds(stopped, first)
    assert_is_31_seconds(single, second)


@pytest.mark.long(45)
def test_other_groups_and_other_traffic_are_no_stream(watching):
    rig = watching()
    linked = rig.display.wait_for("NETW_UP")

    with stream(rig.board, OTHER_GROUP), stream(rig.board, rig.board.address):
        reported = rig.display.wait_for(SILENCE, timeout=45)

    assert_is_31_seconds(linked, reported)


@pytest.mark.long(45)
def test_stream_that_runs_is_never_reported(watching):
    rig = watching()

    with stream(rig.board, VIDEO_GROUP, interval=0.5), pytest.raises(TimeoutError):
        rig.display.wait_for(SILENCE, timeout=SILENT_SECONDS + LATE)

    assert rig.display.names() == ["NETW_UP"]


@pytest.mark.long(100)
def test_lost_link_is_no_silence_and_the_stream_counts_again_behind_it(watching):
    rig = watching()
    time.sleep(12)

    rig.board.cable(False)
    rig.display.wait_for("NETW_DN", count=3, timeout=60)
    rig.board.cable(True)
    rig.display.wait_for("NETW_UP", count=2, timeout=LINK_UP_SECONDS)
    assert silences(rig) == 0

    # Those 12 seconds still count: without a packet, silence would come in less than 20 more.
    with stream(rig.board, VIDEO_GROUP, interval=0.5), pytest.raises(TimeoutError):
        rig.display.wait_for(SILENCE, timeout=25)
    assert rig.service.stderr_text().count(OPENED) == 2


def test_counts_what_tcpdump_counts_with_the_same_filter(watching, quendal, tmp_path):
    rig = watching()
    counter = PacketCounter(rig.service, quendal)
    wait_until(lambda: send(rig.board, VIDEO_GROUP) or counter.read(), 5, "the first packet")
    time.sleep(1.5)  # until what has been sent for that has been handed over
    before = counter.read()

    with recording(rig.board, tmp_path / "eth0.pcap"):
        for _ in range(100):
            send(rig.board, OTHER_GROUP, 5)
            send(rig.board, VIDEO_GROUP, 20)
            send(rig.board, rig.board.address, 5)
        wait_until(lambda: counter.read() - before >= 2000, 5, "2000 packets")
        time.sleep(1.5)

    assert counter.read() - before == tcpdump_count(tmp_path / "eth0.pcap", FILTER) == 2000
    assert tcpdump_count(tmp_path / "eth0.pcap", "udp") >= 3000


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_ends_within_two_seconds_in_a_capture_without_packets(watching, number):
    rig = watching()

    begin = time.monotonic()
    rig.service.send_signal(number)

    assert rig.service.wait(10) == 0
    assert time.monotonic() - begin < 2


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_ends_within_two_seconds_in_a_capture_with_packets(watching, number):
    rig = watching()
    with stream(rig.board, VIDEO_GROUP, interval=0.001):
        begin = time.monotonic()
        rig.service.send_signal(number)

        assert rig.service.wait(10) == 0
        assert time.monotonic() - begin < 2


def test_without_the_right_to_capture_that_is_said_once_and_the_service_goes_on(make_rig):
    rig = make_rig(ini={"videoMcIp": VIDEO_GROUP}, wrapper=NO_RIGHTS)
    rig.await_open()

    rig.service.wait_for(OPEN_FAILED + "eth0: ")

    rig.assert_good_transfer()
    assert rig.service.stderr_text().count(OPEN_FAILED) == 1
    assert "ermi" in rig.service.stderr_text().partition(OPEN_FAILED)[2].splitlines()[0]


def test_anything_but_a_multicast_address_is_named_and_the_watch_stays_off(make_rig):
    rig = make_rig(ini={"videoMcIp": "stream.example"})

    rig.await_open()

    said = "\nvideoMcIp in ini is not an IPv4 multicast address, video watch stays off:stream.example"
    assert console.before_tasks(rig.text_since(0)) == console.start_up() + said
    assert "pcap" not in rig.service.stderr_text()
