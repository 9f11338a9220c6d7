"""The heartbeat: when it comes, what it is, and which way it takes."""

import time

import pytest

from quendal_tools.board import console
from quendal_tools.protocol import packet
from support import multicast
from support.multicast import Transmitter

TOLERANCE = 0.3
SLACK = 6  # what a busy machine may add


@pytest.fixture
def listening(make_rig):
    """Starts a service as the arguments of make_rig say, with a transmitter that hears all from the start."""
    transmitters = []

    def make(**options):
        rig = make_rig(**options)
        transmitters.append(Transmitter(rig.board.pc))
        multicast.await_resumed(rig)
        return rig, transmitters[-1], time.time()

    yield make
    for transmitter in transmitters:
        transmitter.__exit__()


@pytest.mark.long(50)
def test_heartbeat_comes_twenty_seconds_after_the_opening_and_then_every_eleven(listening):
    rig, transmitter, opened = listening()

    first, second, third = (transmitter.heard(timeout=40) for _ in range(3))

    for data, source, ttl, _ in (first, second, third):
        assert (data, source, ttl) == (multicast.HEARTBEAT, rig.board.address, 1)
    # 10 time-outs with a second's wait after each but the last, and a second before the heartbeat; the
    # display hears its own heartbeat, and from then on there is no wait after a time-out.
    assert 20 - TOLERANCE <= first[3] - opened < 20 + SLACK
    assert 11 - TOLERANCE <= second[3] - first[3] < 11 + SLACK
    assert 11 - TOLERANCE <= third[3] - second[3] < 11 + SLACK


@pytest.mark.long(30)
def test_after_any_datagram_the_first_heartbeat_comes_eleven_seconds_after_the_opening(listening):
    rig, transmitter, opened = listening()
    transmitter.send(packet.status_packet())

    data, source, _, moment = transmitter.heard(timeout=40)

    assert (data, source) == (multicast.HEARTBEAT, rig.board.address)
    assert 11 - TOLERANCE <= moment - opened < 12 + SLACK


@pytest.mark.long(30)
def test_datagrams_do_not_keep_the_heartbeat_away(listening):
    _, transmitter, opened = listening()
    heartbeat = None
    while heartbeat is None and time.time() < opened + 60:
        transmitter.send(packet.status_packet())
        try:
            heartbeat = transmitter.heard(timeout=1.5)
        except TimeoutError:
            continue

    # Each second datagram-free second counts as a time-out.
    assert heartbeat and heartbeat[0] == multicast.HEARTBEAT


@pytest.mark.long(30)
def test_heartbeat_has_the_configured_time_to_live_on_the_wire(listening):
    rig, transmitter, _ = listening(ini={"MTTL": 7})
    assert console.multicast_settings(7) in rig.service.stderr_text()
    transmitter.send(packet.status_packet())

    assert transmitter.heard(timeout=40)[2] == 7


@pytest.mark.long(30)
def test_heartbeat_leaves_by_eth0_without_any_route_to_the_group(listening):
    def without_routes(board):
        board.replace_command("dhcpcd", "#!/bin/sh\nexit 0\n")
        board.run(["ip", "route", "del", "default"], check=True)

    rig, transmitter, _ = listening(before_start=without_routes)
    transmitter.send(packet.status_packet())

    assert transmitter.heard(timeout=40)[:2] == (multicast.HEARTBEAT, rig.board.address)
    assert "default" not in rig.board.run(["ip", "route"]).stdout


@pytest.mark.long(30)
def test_heartbeat_leaves_by_eth0_although_the_group_is_routed_elsewhere(listening):
    def with_another_way(board):
        for words in ("link add eth1 type veth peer name eth2", "address add 10.9.9.9/24 dev eth1", "link set eth1 up",
                      "link set eth2 up", "route add 224.0.0.0/4 dev eth1"):
            board.run(["ip", *words.split()], check=True)

    rig, transmitter, _ = listening(before_start=with_another_way)
    transmitter.send(packet.status_packet())

    assert transmitter.heard(timeout=40)[:2] == (multicast.HEARTBEAT, rig.board.address)


@pytest.mark.long(40)
def test_no_heartbeat_comes_while_the_link_is_down(listening):
    rig, transmitter, _ = listening()
    mark = rig.service.mark()
    rig.board.cable(False)
    multicast.await_paused(rig, mark)

    with pytest.raises(TimeoutError):
        transmitter.heard(timeout=22)
