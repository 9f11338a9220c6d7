"""Peers that take their time: each element, and each 1024 bytes of a file, has thirty seconds to arrive."""

import time

import pytest

from quendal_tools.board import console
from quendal_tools.protocol import packet
from support import packets
from support.rig import IDLE_SHARE, await_acknowledged, peer_of

ELEMENT_TIMEOUT = 30

TRICKLING = {
    "header": (b"", packets.raw_header(1026), console.exception("DataProcHeader<pos:1>:", "Timeout"), 513),
    "data": (packet.file_head("drops.bin", 1024), bytes(1024),
             console.file_named("drops.bin") + console.exception("DataRxFileElement<pos:3>::", "Timeout"), 1537),
}


@pytest.mark.long(50)
@pytest.mark.parametrize("stage", TRICKLING)
def test_peer_that_trickles_is_cut_off_after_thirty_seconds_and_the_service_is_usable(rig, stage):
    at_once, drops, words, code = TRICKLING[stage]
    mark = rig.service.mark()
    with rig.connect() as connection:
        peer = peer_of(connection)
        connection.sendall(at_once)
        began = time.monotonic()
        for byte in drops[:2 * ELEMENT_TIMEOUT]:
            try:
                connection.sendall(bytes([byte]))
            except ConnectionError:
                break
            # A second for each byte is the peer's own pace, not a wait for anything.
            time.sleep(1)
            if "Exception Met!" in rig.text_since(mark):
                break
        assert ELEMENT_TIMEOUT - 1 <= time.monotonic() - began < 2 * ELEMENT_TIMEOUT
        rig.await_open(mark)

    assert rig.text_since(mark) == console.connected(peer) + words + console.failed(code) + console.reopened(peer)
    rig.assert_good_transfer()


@pytest.mark.long(45)
def test_file_may_take_longer_than_thirty_seconds_as_long_as_it_keeps_coming(rig):
    pieces = [bytes([number]) * 1024 for number in range(8)]
    began = time.monotonic()
    with rig.session() as connection:
        connection.sendall(packet.file_head("slow.bin", sum(map(len, pieces))))
        for piece in pieces:
            # The line's own pace; all together take longer than the time that each of them has.
            time.sleep(4.5)
            connection.sendall(piece)
        rig.await_stored("slow.bin", b"".join(pieces))

    assert time.monotonic() - began > ELEMENT_TIMEOUT + 5
    assert rig.display.names() == ["NETW_UP"]


@pytest.mark.long(45)
def test_wait_of_the_stop_marker_is_not_taken_from_the_peers_time(rig):
    marker = packet.file_head("kvXferStop.sys", 4)
    with rig.session() as connection:
        began = time.monotonic()
        connection.sendall(marker[:-4])
        # The peer's own pace: behind the thirty seconds, within the five more that the service itself has waited.
        time.sleep(ELEMENT_TIMEOUT + 2)
        connection.sendall(marker[-4:] + b"stop")
        assert time.monotonic() - began < ELEMENT_TIMEOUT + 5
        rig.await_stored("kvXferStop.sys", b"stop")


SILENT = {
    "header length": (packets.HEADER[:1], console.exception("DataProcHeader<pos:0>:", "Timeout") +
                      console.closed_by_peer("DataProcHeader<pos:0>:"), 259),
    "status": (packets.HEADER + packets.STATUS[:5],
               console.exception("DataRxCmdStatus<pos:1>::", "Timeout"), 769),
    "file element": (packets.BEFORE_FILE, console.exception("DataRxFileElement<pos:0>::", "Timeout") +
                     console.closed_by_peer("DataRxFileElement<pos:0>:"), 771),
    "data": (packet.file_head("silent.bin", 10) + b"12345",
             console.file_named("silent.bin") + console.exception("DataRxFileElement<pos:3>::", "Timeout"), 1537),
}


@pytest.mark.long(42)
@pytest.mark.parametrize("stage", SILENT)
def test_peer_that_falls_silent_in_a_packet_is_cut_off_after_thirty_seconds(rig, stage):
    sent, words, code = SILENT[stage]
    mark = rig.service.mark()
    with rig.connect() as connection:
        peer = peer_of(connection)
        connection.sendall(sent)
        await_acknowledged(connection)
        began, used = time.monotonic(), rig.service.cpu_seconds()
        rig.service.wait_for("Exception Met!", timeout=2 * ELEMENT_TIMEOUT, after=mark)
        assert time.monotonic() - began >= ELEMENT_TIMEOUT - 1
        assert rig.service.cpu_seconds() - used < IDLE_SHARE * ELEMENT_TIMEOUT
        rig.await_open(mark)

    assert rig.text_since(mark) == console.connected(peer) + words + console.failed(code) + console.reopened(peer)
    rig.assert_good_transfer()


@pytest.mark.long(45)
def test_connection_may_be_silent_between_packets_for_as_long_as_it_likes(rig):
    mark = rig.service.mark()
    with rig.session() as connection:
        # Longer than any time-out: that nothing happens is what is tested.
        with pytest.raises(TimeoutError):
            rig.service.wait_for("Err RC", timeout=ELEMENT_TIMEOUT + 5, after=mark)
        connection.sendall(packet.file_packet("late.bin", b"late"))
        rig.await_stored("late.bin", b"late")
