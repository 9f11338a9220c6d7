"""eth0 gets another address, or becomes another interface, while the link stays up."""

import re
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from support import moved, multicast
from support.multicast import Transmitter
from support.rig import LINK_UP_SECONDS

OTHER = "192.168.77.55"
LOSS_SECONDS = 40


@pytest.fixture
def joined(make_rig):
    """A service that listens on the group and does not relaunch by itself."""
    def start(**options):
        rig = make_rig(ini={"mcRstHrFactor": 0}, **options)
        multicast.await_resumed_and_due(rig)
        rig.await_ready()
        return rig

    return start


def assert_heard_and_heard_of(rig):
    """A request reaches the display, its reply tells the address that it has, and heartbeats come from there."""
    with Transmitter(rig.board.pc) as transmitter:
        multicast.assert_replies(rig, transmitter)
        moved.await_heartbeat(transmitter, rig.board.address)


def assert_link_stayed_up(rig, mark):
    assert rig.display.names() == ["NETW_UP"]
    assert console.BACK_ON not in rig.service.stderr_text()[mark:]
    assert rig.service.stderr_text().count(console.OPEN) == 1


@pytest.mark.long(60)
def test_new_address_is_told_within_a_cycle_and_joined_by_and_a_relaunch_keeps_it(joined, quendal):
    rig = joined()
    mark = rig.service.mark()

    moved.change_address(rig.board, OTHER)
    rig.service.wait_for(moved.line(OTHER), timeout=moved.NOTICED, after=mark)

    multicast.await_resumed(rig, mark)
    assert rig.text_since(mark) == moved.line(OTHER)
    assert rig.multicast_since(mark) == console.MULTICAST_PAUSED + console.MULTICAST_OPENED
    assert_heard_and_heard_of(rig)
    moved.relaunch(rig, quendal)
    assert "Exception" not in rig.service.stderr_text()[mark:]
    assert_heard_and_heard_of(rig)
    assert_link_stayed_up(rig, mark)


@pytest.mark.long(40)
def test_files_arrive_at_the_new_address_on_the_same_open_port(joined):
    rig = joined()
    mark = rig.service.mark()

    moved.change_address(rig.board, OTHER)

    rig.assert_good_transfer()
    rig.service.wait_for(moved.line(OTHER), timeout=moved.NOTICED, after=mark)
    rig.assert_good_transfer()
    assert rig.display.names() == ["NETW_UP"]


@pytest.mark.long(60)
def test_address_that_is_away_for_a_while_is_remembered_and_no_event_is_posted(joined):
    rig = joined()
    mark = rig.service.mark()

    moved.address(rig.board, "del", rig.board.address)
    time.sleep(8)
    assert rig.text_since(mark) == ""
    moved.address(rig.board, "add", rig.board.address)

    assert_heard_and_heard_of(rig)
    assert rig.text_since(mark).replace("\nSend_mcLCDpacket w/o file: Exception Met sending 2-elem mcast!"
                                        "\nException Message:Net Exception: Network is unreachable", "") == ""
    assert_link_stayed_up(rig, mark)


@pytest.mark.long(60)
def test_address_that_is_away_for_a_while_and_comes_back_as_another_is_followed(joined):
    rig = joined()
    mark = rig.service.mark()

    moved.address(rig.board, "del", rig.board.address)
    time.sleep(8)
    moved.address(rig.board, "add", OTHER)
    moved.has_moved(rig.board, OTHER)

    rig.service.wait_for(moved.line(OTHER), timeout=moved.NOTICED, after=mark)
    assert_heard_and_heard_of(rig)
    assert_link_stayed_up(rig, mark)


@pytest.mark.long(60)
def test_interface_that_was_replaced_within_a_cycle_is_joined_anew(joined, quendal):
    rig = joined()
    mark, index = rig.service.mark(), moved.interface_index(rig.board)

    moved.replace_interface(rig.board, "link set eth0 up", f"address add {rig.board.address}/24 dev eth0",
                            f"route add default via {rig.board.pc.address}")
    assert moved.interface_index(rig.board) != index
    rig.service.wait_for(moved.line(rig.board.address), timeout=moved.NOTICED, after=mark)

    assert_heard_and_heard_of(rig)
    moved.relaunch(rig, quendal)
    assert "Exception" not in rig.service.stderr_text()[mark:]
    assert_heard_and_heard_of(rig)
    assert_link_stayed_up(rig, mark)
    rig.assert_good_transfer()


@pytest.mark.long(60)
@pytest.mark.parametrize("mode", ["preset", "static", "dhcp"])
def test_interface_that_was_replaced_within_a_cycle_is_brought_up_and_gets_its_address_again(joined, mode):
    rig = joined(address_mode=mode, before_start=lambda board: mode == "dhcp" and board.start_dhcp_server())
    mark = rig.service.mark()

    moved.replace_interface(rig.board)
    rig.service.wait_for(moved.line(rig.board.address), timeout=LOSS_SECONDS, after=mark)

    assert_heard_and_heard_of(rig)
    assert_link_stayed_up(rig, mark)
    rig.assert_good_transfer()


@pytest.mark.long(60)
def test_interface_that_is_away_for_longer_is_a_lost_link_and_comes_back_as_one(joined):
    rig = joined()
    mark = rig.service.mark()

    moved.take_interface(rig.board)
    multicast.await_paused(rig, mark)
    moved.return_interface(rig.board)
    rig.display.wait_for("NETW_UP", count=2, timeout=LOSS_SECONDS)
    multicast.await_resumed(rig, mark)

    assert_heard_and_heard_of(rig)
    assert moved.line(rig.board.address) not in rig.service.stderr_text()
    rig.assert_good_transfer()


@pytest.mark.long(90)
def test_renewal_that_brings_another_lease_is_followed(make_rig):
    servers = []
    rig = make_rig(address_mode="dhcp", before_start=lambda board: servers.append(board.start_dhcp_server()))
    rig.await_open(timeout=LINK_UP_SECONDS + 10)
    multicast.await_resumed_and_due(rig)
    mark = rig.service.mark()

    servers[0].kill()
    servers[0].wait()
    rig.board.pc.start_dhcp_server([(rig.board.hardware_address, OTHER)])
    rig.board.run(["dhcpcd", "-n", "eth0"], check=True)
    wait_until(lambda: f"inet {OTHER}/24" in addresses(rig), 30, "the new lease")
    moved.has_moved(rig.board, OTHER)
    rig.service.wait_for(moved.line(OTHER), timeout=moved.NOTICED, after=mark)

    assert_heard_and_heard_of(rig)
    rig.assert_good_transfer()
    assert rig.display.names() == ["NETW_UP"]
    assert not re.search(r"Network is back|found linked", rig.service.stderr_text()[mark:])


def addresses(rig):
    return rig.board.run(["ip", "-4", "address", "show", "dev", "eth0"]).stdout
