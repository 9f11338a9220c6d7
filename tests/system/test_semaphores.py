"""The way to the display: semaphores whose ids stand in the environment."""

import pytest

from quendal_tools.board import console
from quendal_tools.board.display import VARIABLE_PREFIX
from quendal_tools.protocol import packet
from support.interleaving import is_interleaving

STOP = packet.file_packet("kvXferStop.sys", b"")


def setting(name, value):
    return lambda display_env: {**display_env, VARIABLE_PREFIX + name: value}


def test_without_any_variable_every_post_is_a_no_op_and_the_service_works(make_rig):
    rig = make_rig(env=lambda display_env: {})
    rig.await_open()

    rig.send(STOP)

    rig.assert_good_transfer()
    assert rig.display.names() == []


@pytest.mark.parametrize("value", ["-5", "-1", "2147483647"])
def test_id_that_is_negative_or_nobodys_is_not_posted_to_and_nothing_is_said(make_rig, value):
    rig = make_rig(env=setting("NETW_UP", value))
    rig.await_open()

    text = rig.text_since(0).removeprefix(console.start_up())
    assert is_interleaving(
        text, [console.DATA_TASK_START, console.WAITING, console.OPENING, console.OPEN],
        [console.LINKED, console.DHCP_OK, console.LINKED, console.BACK_ON, console.LINKED])
    assert rig.display.names() == []
    rig.send(STOP)
    rig.assert_woken("START2RX", "RXCOMPLETE")


def test_text_behind_the_number_is_ignored(make_rig):
    rig = make_rig(env=lambda display_env: {name: value + "x 7" for name, value in display_env.items()})
    rig.await_open()

    rig.send(STOP)

    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")


def test_text_without_a_number_means_id_0(make_rig):
    rig = make_rig(env=setting("NETW_UP", "none"))
    rig.await_open()

    assert rig.display.env[VARIABLE_PREFIX + "START2RX"] == "0"
    rig.assert_woken("START2RX")


def test_semaphores_that_the_display_has_removed_do_no_harm(rig):
    rig.display.stop()

    rig.send(STOP)

    rig.assert_good_transfer()


def test_restarted_display_is_reached_by_a_restarted_service(rig, quendal):
    rig.display.stop()
    rig.service.terminate()
    assert rig.service.wait(20) == 0
    display = rig.board.display()

    again = rig.board.start_service(quendal, env=display.env)
    rig.services.append(again)

    display.wait_for("NETW_UP", timeout=20)


def test_end_of_the_service_takes_no_wake_up_back_and_gives_none(rig):
    rig.send(STOP)
    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")

    rig.service.terminate()
    assert rig.service.wait(20) == 0

    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
