"""A multicast socket that cannot be opened, or not joined to its group, at first."""

import contextlib
import time

import pytest

from quendal_tools.board import console
from quendal_tools.configuration.example import GROUP, GROUP_PORT
from support import moved, multicast
from support.multicast import Transmitter

RETRY_SECONDS = 10
SLACK = 8  # what a busy machine may add
HOLDER = f"""
import socket, time
holder = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
holder.bind(("{GROUP}", {GROUP_PORT}))
print("bound", flush=True)
time.sleep(600)
"""


def hold_the_port(board):
    """Another program has the group's port, and shares it with nobody."""
    holder = board.popen(["/usr/bin/python3", "-c", HOLDER], stdout=-1)
    assert holder.stdout.read(6) == b"bound\n"
    return holder


def allow_memberships(board, count):
    board.run(["sh", "-c", f"echo {count} >/proc/sys/net/ipv4/igmp_max_memberships"], check=True)


@contextlib.contextmanager
def replying_transmitter(rig):
    with Transmitter(rig.board.pc) as transmitter:
        yield transmitter
        multicast.assert_replies(rig, transmitter)
        moved.await_heartbeat(transmitter, rig.board.address)


@pytest.mark.long(70)
def test_port_that_another_program_frees_is_bound_within_ten_seconds(make_rig):
    holders = []
    rig = make_rig(ini={"mcRstHrFactor": 0}, before_start=lambda board: holders.append(hold_the_port(board)))
    failed = console.multicast_opening_failed(f"Net Exception: Address already in use: {GROUP}:{GROUP_PORT}")
    multicast.await_resumed(rig)
    time.sleep(15)
    assert rig.multicast_since(0, failed) == failed + console.MULTICAST_PAUSED + failed

    holders[0].kill()
    freed = time.monotonic()
    rig.service.wait_for(console.MULTICAST_OPENED, timeout=RETRY_SECONDS + SLACK)

    assert time.monotonic() - freed < RETRY_SECONDS + SLACK
    once = failed + console.MULTICAST_PAUSED
    assert rig.multicast_since(0, failed) == 2 * once + console.MULTICAST_OPENED
    with replying_transmitter(rig):
        pass


@pytest.mark.long(90)
def test_group_that_can_be_joined_later_is_joined_and_meanwhile_heartbeats_leave(make_rig):
    rig = make_rig(ini={"mcRstHrFactor": 0}, before_start=lambda board: allow_memberships(board, 0))
    failed = console.multicast_opening_failed("I/O error: No buffer space available", console.multicast_settings())
    with replying_transmitter(rig) as transmitter:
        multicast.await_resumed(rig)
        moved.await_heartbeat(transmitter, rig.board.address)
        assert rig.multicast_since(0, failed) == failed

        allow_memberships(rig.board, 20)
        rig.service.wait_for(console.MULTICAST_JOINED, timeout=RETRY_SECONDS + SLACK)

    assert rig.multicast_since(0, failed) == failed + console.MULTICAST_JOINED


@pytest.mark.long(90)
def test_relaunch_while_the_address_is_away_joins_once_it_is_back(make_rig, quendal):
    rig = make_rig(ini={"mcRstHrFactor": 0})
    multicast.await_resumed_and_due(rig)
    rig.await_ready()
    moved.address(rig.board, "del", rig.board.address)
    mark = rig.service.mark()

    moved.relaunch(rig, quendal)
    assert "Exception Message:I/O error: 19" in rig.service.stderr_text()[mark:]
    time.sleep(12)
    assert rig.service.stderr_text()[mark:].count("McTask: Exception Met") == 1
    moved.address(rig.board, "add", rig.board.address)
    rig.service.wait_for(console.MULTICAST_JOINED, timeout=RETRY_SECONDS + SLACK, after=mark)

    with replying_transmitter(rig):
        pass
    assert rig.display.names() == ["NETW_UP"]
    assert rig.service.stderr_text().count(console.MULTICAST_JOINED) == 1


@pytest.mark.long(40)
def test_pause_and_stop_do_not_wait_for_the_ten_seconds(make_rig):
    rig = make_rig(ini={"lcdMcastIp": "10.1.2.3"})
    mark = multicast.await_resumed(rig)
    asked = time.monotonic()

    rig.service.terminate()

    assert rig.service.wait(30) == 0
    assert time.monotonic() - asked < RETRY_SECONDS / 2
    assert rig.service.stderr_text()[mark:].count(console.MULTICAST_TRIGGER) == 0
