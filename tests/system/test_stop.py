"""A termination request ends the service with status 0, whatever it is doing."""

import signal

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol import packet
from support import packets
from support.interleaving import is_interleaving
from support.rig import REOPEN_SECONDS, peer_of

AT_ONCE = 6
# Within the two seconds that a command has once the service is asked to stop.
SLOW_CLIENT = "#!/bin/sh\nsleep 1\n"
SIGNALS = [pytest.param(number, id=number.name) for number in (signal.SIGTERM, signal.SIGINT)]

pytestmark = pytest.mark.parametrize("number", SIGNALS)


def stop(rig, number, within=AT_ONCE):
    """Asks the service to end; its status. The time is generous, but shorter than the waits that must be cut short."""
    rig.service.send_signal(number)
    return rig.service.wait(within)


def test_right_after_the_banner(make_rig, number):
    rig = make_rig()
    rig.service.wait_for(console.BANNER)

    assert stop(rig, number) == 0
    assert rig.text_since(0).startswith(console.start_up().removesuffix("\n"))
    assert console.CEASED in rig.text_since(0)


def test_during_the_two_seconds_after_a_static_address(make_rig, number):
    rig = make_rig(address_mode="static")
    rig.service.wait_for("Cmd:sudo ifconfig")

    assert stop(rig, number) == 0
    assert rig.text_since(0).count("Cmd:") == 2
    assert console.CEASED in rig.text_since(0)
    assert console.BACK_ON not in rig.text_since(0)


def test_before_the_first_cycle(make_rig, number):
    rig = make_rig()
    rig.service.wait_for(console.WAITING)
    rig.service.wait_for(console.LINKED)

    assert stop(rig, number) == 0
    assert rig.board.commands() == []
    assert rig.display.names() == []


def test_during_the_six_seconds_after_netw_dn(make_rig, number):
    rig = make_rig(before_start=lambda board: board.cable(False))
    rig.display.wait_for("NETW_DN", timeout=20)

    assert stop(rig, number, within=5) == 0
    assert rig.display.names() == ["NETW_DN"]


def test_in_the_cycle_after_link_down(make_rig, number):
    rig = make_rig(before_start=lambda board: board.cable(False))
    rig.display.wait_for("NETW_DN", count=2, timeout=30)

    assert stop(rig, number) == 0


def test_idle_with_the_link_up(rig, number):
    rig.service.wait_for(console.MULTICAST_RESUMED)
    mark = rig.service.mark()

    assert stop(rig, number) == 0
    assert rig.text_since(mark) == console.CLOSING + console.CLOSED + console.CEASED
    assert rig.multicast_since(mark) == console.MULTICAST_PAUSED + console.MULTICAST_CEASED
    rig.assert_woken("NETW_UP")


def test_with_open_connections(rig, number):
    with rig.connect() as one, rig.connect() as two:
        mark = rig.service.mark()

        assert stop(rig, number) == 0
        farewells = rig.text_since(mark).removeprefix(console.CLOSING).removesuffix(console.CLOSED + console.CEASED)
        assert sorted(farewells.splitlines()) == sorted(
            console.disconnected(peer_of(one), peer_of(two)).splitlines())


def test_in_a_transfer_whose_peer_has_stalled(rig, number):
    mark = rig.service.mark()
    with rig.connect() as connection:
        peer = peer_of(connection)
        connection.sendall(packet.file_head("stalled.bin", 1_000_000) + bytes(500_000))
        wait_until(lambda: len(rig.stored("stalled.bin") or b"") > 400_000, 10, "most of the file")

        # The failed store waits its five seconds and releases the display before the end.
        assert stop(rig, number, within=15) == 0

    assert is_interleaving(
        rig.text_since(mark),
        [console.connected(peer), console.file_named("stalled.bin"),
         console.exception("DataRxFileElement<pos:3>::", "Illegal state: the service is stopping"),
         console.failed(1537), console.disconnected(peer)],
        [console.CLOSING, *console.CLOSED_MESSAGES, console.CEASED])
    assert rig.stored("stalled.bin") == bytes(len(rig.stored("stalled.bin")))
    rig.assert_woken("NETW_UP", "RXCOMPLETE")


def test_in_a_header_whose_peer_has_stalled(rig, number):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.sendall(b"\x14\x00")

        assert stop(rig, number) == 0

    assert rig.text_since(mark).endswith(console.CLOSED + console.CEASED)


def test_in_a_transfer_that_goes_on_and_on(rig, number):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.settimeout(REOPEN_SECONDS)
        connection.sendall(packets.BEFORE_FILE + packets.file_head(b"endless.bin", 0xFFFFFFFF))
        rig.service.wait_for("endless.bin", after=mark)
        rig.service.send_signal(number)
        with pytest.raises(OSError):
            while True:
                connection.sendall(bytes(100_000))

        assert rig.service.wait(15) == 0


def test_during_the_five_seconds_of_the_stop_marker(rig, number):
    with rig.connect() as connection:
        connection.sendall(packet.file_packet("kvXferStop.sys", b""))
        rig.display.wait_for("START2RX")

        assert stop(rig, number, within=15) == 0
    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")


def test_during_a_dhcp_client_that_takes_its_time(make_rig, number):
    rig = make_rig(before_start=lambda board: board.replace_command("dhcpcd", SLOW_CLIENT))
    rig.service.wait_for(console.DHCP, timeout=20)

    assert stop(rig, number, within=15) == 0
    assert is_interleaving(
        rig.text_since(0).removeprefix(console.start_up()),
        [console.LINKED, console.DHCP, "0", console.LINKED, console.BACK_ON, console.LINKED],
        [console.DATA_TASK_START, console.WAITING, *console.CLOSED_MESSAGES, console.CEASED])


def test_while_an_error_waits_for_the_port_to_be_opened_again(rig, number):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.sendall(bytes(20))
        rig.service.wait_for(console.failed(516), after=mark)

        assert stop(rig, number) == 0


def test_twice_in_a_row(rig, number):
    rig.service.send_signal(number)

    assert stop(rig, number) == 0
