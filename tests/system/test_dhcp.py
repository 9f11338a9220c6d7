"""DHCP with the real client on the board and a real server on the PC's side."""

import re

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from support.rig import LINK_UP_SECONDS

LEASE = "/var/lib/dhcpcd/eth0.lease"
CLIENT = re.escape(console.DHCP) + r"(?P<client>.*\n)?(?P<status>\d+)"
LOSS_SECONDS = 40


def acknowledged(rig):
    log = (rig.board.pc.directory / "dnsmasq.log").read_text()
    return log.count(f"DHCPACK(br0) {rig.board.address}")


@pytest.fixture
def dhcp_rig(make_rig):
    return make_rig(address_mode="dhcp", before_start=lambda board: board.start_dhcp_server())


@pytest.mark.long(60)
def test_lease_brings_the_link_up_its_loss_ends_it_and_the_return_brings_a_new_lease(dhcp_rig):
    rig = dhcp_rig
    rig.display.wait_for("NETW_UP", timeout=LOSS_SECONDS)
    rig.await_open()
    begin = re.compile(CLIENT + re.escape(console.LINKED + console.BACK_ON), re.DOTALL).search(rig.text_since(0))
    assert begin and begin["status"] == "0"
    assert acknowledged(rig) == 1
    wait_until(rig.board.path(LEASE).exists, 5, "the lease file")
    rig.assert_good_transfer()

    mark = rig.service.mark()
    rig.board.cable(False)
    rig.service.wait_for(console.DATA_TASK_PAUSED, timeout=LOSS_SECONDS, after=mark)
    assert "inet 192" not in rig.board.run(["ip", "-4", "address", "show", "dev", "eth0"]).stdout
    wait_until(lambda: list(rig.board.path(LEASE).parent.iterdir()) == [], 10, "the leases' end")
    commands = [text for _, text in rig.board.commands()]
    assert commands[3] == "sudo ip addr flush dev eth0"
    assert any(re.fullmatch(r"sudo rm -Rf( /var/lib/dhcpcd/\S+)+", text) for text in commands)

    rig.board.cable(True)
    rig.display.wait_for("NETW_UP", count=2, timeout=LOSS_SECONDS)
    rig.await_open(mark)
    assert acknowledged(rig) == 2
    assert f"inet {rig.board.address}/24" in rig.board.run(["ip", "-4", "address", "show", "dev", "eth0"]).stdout
    rig.assert_good_transfer()


@pytest.mark.long(60)
def test_server_that_comes_late_is_asked_again(make_rig):
    rig = make_rig(address_mode="dhcp")
    rig.service.wait_for(console.DHCP, timeout=LINK_UP_SECONDS)
    rig.board.start_dhcp_server()

    rig.await_open(timeout=90)

    rig.assert_good_transfer()


@pytest.mark.long(60)
def test_client_without_server_gives_up_after_thirty_seconds_and_the_link_is_down(make_rig):
    rig = make_rig(address_mode="dhcp")

    rig.display.wait_for("NETW_DN", timeout=60)

    client = next(moment for moment, text in rig.board.commands() if "dhcpcd" in text)
    assert rig.display.events()[0][0] - client >= 29
    gave_up = re.search(CLIENT + re.escape(console.NOT_LINKED), rig.text_since(0), re.DOTALL)
    assert gave_up and gave_up["status"] == "256"
    assert rig.display.names() == ["NETW_DN"]
