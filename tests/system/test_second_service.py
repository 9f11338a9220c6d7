"""Two services on one board: the port belongs to the first, and the second keeps trying."""

import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support.rig import LINK_UP_SECONDS, NOTICED_LATE

RETRY_SECONDS = 10
IN_USE = "\nDataTask: Exception Met!\nException Message:Net Exception: Address already in use"


@pytest.mark.long(50)
def test_second_service_reports_the_taken_port_every_ten_seconds_and_takes_over_when_it_is_free(rig, quendal):
    second = rig.board.start_service(quendal, env=rig.display.env)
    rig.services.append(second)

    refused = second.wait_for(IN_USE, timeout=LINK_UP_SECONDS)
    began = time.monotonic()
    rig.assert_good_transfer()
    assert second.stderr_text().count(console.connected("").strip()) == 0
    refused_again = second.wait_for(IN_USE, timeout=3 * RETRY_SECONDS, after=refused)
    assert time.monotonic() - began >= RETRY_SECONDS - NOTICED_LATE
    between = console.without_multicast(second.stderr_text()[refused:refused_again])
    assert between.endswith(console.CLOSED + console.WAITING + console.OPENING + IN_USE)

    rig.service.terminate()
    assert rig.service.wait(20) == 0
    second.wait_for(console.OPEN, timeout=3 * RETRY_SECONDS, after=refused_again)

    with rig.board.pc.connect(DATA_PORT) as connection:
        connection.sendall(packet.file_packet("second.bin", b"second"))
        rig.await_stored("second.bin", b"second")
    assert rig.board.path(f"{TARGET}/second.bin").read_bytes() == b"second"
    assert "DataRxFileElement,fileAsciiName:second.bin" in second.stderr_text()


@pytest.mark.long(20)
def test_service_that_waits_for_the_port_stops_at_once(rig, quendal):
    second = rig.board.start_service(quendal, env=rig.display.env)
    second.wait_for(IN_USE, timeout=LINK_UP_SECONDS)

    second.terminate()

    assert second.wait(RETRY_SECONDS - 3) == 0
    rig.assert_good_transfer()


def test_restarted_service_gets_its_port_although_the_last_one_had_connections(rig, quendal):
    with rig.connect(), rig.connect():
        rig.service.terminate()
        assert rig.service.wait(20) == 0

        again = rig.board.start_service(quendal, env=rig.display.env)
        rig.services.append(again)
        again.wait_for(console.OPEN, timeout=LINK_UP_SECONDS)

    assert "Exception" not in again.stderr_text()
