"""The multicast socket's life: opening, pause and return, relaunch, failed opening, end."""

import time

import pytest

from quendal_tools.board import console
from quendal_tools.configuration.example import ADDRESS, GROUP_PORT
from support import multicast
from support.multicast import Transmitter

STOP_SECONDS = 10  # a cycle of the maintenance task may be under way


def lose_link(rig):
    mark = rig.service.mark()
    rig.board.cable(False)
    multicast.await_paused(rig, mark)


@pytest.mark.long(50)
def test_link_up_opens_the_socket_loss_closes_it_and_return_opens_it_again(make_rig):
    rig = make_rig(before_start=lambda board: board.cable(False))
    rig.display.wait_for("NETW_DN", timeout=30)
    assert rig.multicast_since(0) == ""

    mark = rig.service.mark()
    rig.board.cable(True)
    multicast.await_resumed(rig, mark)
    assert rig.multicast_since(0) == console.MULTICAST_OPENED

    lose_link(rig)
    assert rig.multicast_since(0) == console.MULTICAST_OPENED + console.MULTICAST_PAUSED
    descriptors = rig.service.fd_count()

    mark = rig.service.mark()
    rig.board.cable(True)
    multicast.await_resumed(rig, mark)
    assert rig.multicast_since(0) == console.MULTICAST_OPENED + console.MULTICAST_PAUSED + console.MULTICAST_OPENED
    with Transmitter(rig.board.pc) as transmitter:
        multicast.assert_replies(rig, transmitter)
    assert rig.service.fd_count() <= descriptors + 6  # the listener, the reactor's and this socket


@pytest.mark.long(40)
def test_loss_in_the_middle_of_a_stalled_reply_and_return(make_rig):
    rig = make_rig()
    multicast.await_resumed_and_due(rig)
    with Transmitter(rig.board.pc) as transmitter:
        transmitter.let_connections_hang()
        transmitter.ask()
        lose_link(rig)
        mark = rig.service.mark()
        rig.board.cable(True)
        multicast.await_resumed(rig, mark)
        with Transmitter(rig.board.pc) as other:
            multicast.assert_replies(rig, other)


def test_stop_while_receiving_ends_the_task_in_a_few_seconds_with_these_words(make_rig):
    rig = make_rig()
    multicast.await_resumed(rig)
    asked = time.monotonic()

    rig.service.terminate()

    assert rig.service.wait(30) == 0
    assert rig.multicast_since(0) == console.MULTICAST_OPENED + console.MULTICAST_PAUSED + console.MULTICAST_CEASED
    assert time.monotonic() - asked < STOP_SECONDS


def test_stop_while_paused_takes_the_pause_path_and_ends(make_rig):
    rig = make_rig(before_start=lambda board: board.cable(False))
    rig.display.wait_for("NETW_DN", timeout=30)

    rig.service.terminate()

    assert rig.service.wait(30) == 0
    assert rig.multicast_since(0) == console.MULTICAST_PAUSED + console.MULTICAST_CEASED


@pytest.mark.long(60)
def test_socket_that_cannot_be_bound_is_tried_again_every_ten_seconds(make_rig):
    rig = make_rig(ini={"lcdMcastIp": "10.1.2.3"})
    opening = console.multicast_opening_failed(
        f"Net Exception: Cannot assign requested address: 10.1.2.3:{GROUP_PORT}")
    mark = multicast.await_resumed(rig)
    began, cpu = time.monotonic(), rig.service.cpu_seconds()

    for _ in range(2):
        mark = multicast.await_resumed(rig, mark)

    assert 20 - 1 <= time.monotonic() - began < 30
    assert rig.service.cpu_seconds() - cpu < 0.5
    assert rig.multicast_since(0, opening) == opening + 2 * (console.MULTICAST_PAUSED + opening)
    lose_link(rig)
    rig.service.terminate()
    assert rig.service.wait(30) == 0
    assert rig.multicast_since(0, opening).endswith(2 * console.MULTICAST_PAUSED + console.MULTICAST_CEASED)


@pytest.mark.long(50)
def test_group_that_cannot_be_joined_is_reported_once_and_tried_again_in_silence(make_rig):
    rig = make_rig(ini={"lcdMcastIp": ADDRESS})
    opening = console.multicast_opening_failed("Invalid argument", console.multicast_settings())
    multicast.await_resumed(rig)
    cpu = rig.service.cpu_seconds()

    time.sleep(25)

    assert rig.service.cpu_seconds() - cpu < 0.5
    assert rig.multicast_since(0, opening) == opening
    rig.service.terminate()
    assert rig.service.wait(30) == 0
    assert rig.multicast_since(0, opening) == opening + console.MULTICAST_PAUSED + console.MULTICAST_CEASED


@pytest.mark.parametrize("factor", [1, -1])
def test_start_in_a_qualifying_hour_relaunches_once_right_after_the_first_receive(make_rig, factor):
    rig = make_rig(ini={"mcRstHrFactor": factor})
    hour = time.gmtime().tm_hour
    mark = multicast.await_resumed(rig)

    multicast.await_resumed(rig, mark)

    relaunch = f"relauching mcast thread at hour:{hour}..."
    if time.gmtime().tm_hour == hour:
        assert rig.service.stderr_text().endswith(relaunch + console.MULTICAST_PAUSED + console.MULTICAST_OPENED)
        assert rig.service.stderr_text().count("relauching") == 1
    with Transmitter(rig.board.pc) as transmitter:
        multicast.assert_replies(rig, transmitter)


def test_factor_zero_relaunches_in_hour_zero_only_and_does_not_end_the_service(make_rig):
    rig = make_rig(ini={"mcRstHrFactor": 0})
    multicast.await_resumed(rig)
    with Transmitter(rig.board.pc) as transmitter:
        multicast.assert_replies(rig, transmitter)

    assert "relauching" not in rig.service.stderr_text() or time.gmtime().tm_hour == 0
