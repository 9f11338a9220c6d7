"""Static mode: IPAddress.ini beside the configuration."""

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import WORK, static_configuration
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import ADDRESS, GATEWAY
from quendal_tools.configuration.ini_text import with_keys
from support.static_address import SET_ADDRESS, CYCLE_COMMANDS, SET_GATEWAY, START_UP_COMMANDS, nothing_to_kill

STATIC = WORK + "/IPAddress.ini"
GOOD = static_configuration(ADDRESS, GATEWAY)
TOLERANCE = 0.05


def await_commands(board, wanted, timeout=30):
    """Waits until that many commands have been run in all; returns [(time, text)]."""
    return wait_until(lambda: len(board.commands()) >= wanted and board.commands(), timeout, f"{wanted} commands")


def test_commands_run_in_order_two_seconds_apart_and_again_in_the_first_cycle(make_rig):
    rig = make_rig(address_mode="static")

    up = rig.display.wait_for("NETW_UP", timeout=30)

    times, texts = zip(*rig.board.commands())
    assert list(texts) == START_UP_COMMANDS + CYCLE_COMMANDS
    for first in (texts.index(SET_ADDRESS), len(START_UP_COMMANDS) + 1):
        assert texts[first:first + 2] == (SET_ADDRESS, SET_GATEWAY)
        assert times[first + 1] - times[first] >= 2 - TOLERANCE
    assert up - times[-1] >= 3 - TOLERANCE
    assert times[len(START_UP_COMMANDS)] - times[len(START_UP_COMMANDS) - 1] >= 3 - TOLERANCE


def test_address_and_route_are_really_set_and_the_port_opens(make_rig):
    rig = make_rig(address_mode="static")

    rig.await_open()

    assert f"inet {rig.board.address}/24" in rig.board.run(["ip", "-4", "address", "show", "dev", "eth0"]).stdout
    assert f"default via {rig.board.pc.address} dev eth0" in rig.board.run(["ip", "route"]).stdout
    rig.assert_good_transfer()


@pytest.mark.parametrize("dns, second", [("abc def", "abc def"), (None, GATEWAY)])
def test_resolv_conf_holds_the_public_server_and_the_configured_one_or_the_gateway(make_rig, dns, second):
    rig = make_rig(files={STATIC: with_keys(GOOD, {"DNS": dns}), "/etc/resolv.conf": "nameserver 1.1.1.1\n" * 5})

    rig.service.wait_for(SET_ADDRESS)

    assert rig.board.path("/etc/resolv.conf").read_bytes() == f"nameserver 8.8.8.8\nnameserver {second}\n".encode()


def test_resolv_conf_that_cannot_be_written_is_ignored(make_rig):
    def occupy(board):
        board.path("/etc/resolv.conf").unlink()
        board.path("/etc/resolv.conf").mkdir()

    rig = make_rig(files={STATIC: GOOD}, before_start=occupy)

    rig.await_open()


def test_without_the_file_neither_resolv_conf_nor_the_address_is_touched(rig):
    assert rig.board.path("/etc/resolv.conf").read_text() == ""
    assert [text for _, text in rig.board.commands()] == ["sudo ifconfig eth0 up", "sudo dhcpcd -d eth0 -t 30 -L"]


@pytest.mark.parametrize("keys, refused, run", [
    ({"IP": "1.2.3.4; touch /tmp/owned"}, "bad IP address:[1.2.3.4; touch /tmp/owned]", SET_GATEWAY),
    ({"DefaultGateway": "`touch /tmp/owned`"}, "bad default gateway:[`touch /tmp/owned`]", SET_ADDRESS),
    ({"IP": "1" * 200}, f"bad IP address:[{'1' * 200}]", SET_GATEWAY),
])
def test_value_that_is_no_address_is_named_and_only_its_command_is_not_run(make_rig, keys, refused, run):
    rig = make_rig(files={STATIC: with_keys(GOOD, keys)})

    rig.service.wait_for(console.DATA_TASK_START)

    refusal, announced = f"\nCommand not run, {refused}", console.command(run)
    parts = announced + refusal if run == SET_ADDRESS else refusal + announced
    own_words = "SIOCADDRT: File exists\n" if run == SET_GATEWAY else ""
    assert console.before_tasks(rig.text_since(0)) == console.start_up(
        static=nothing_to_kill(rig.board) + parts + own_words)
    assert run in [text for _, text in rig.board.commands()]
    assert not rig.board.path("/tmp/owned").exists()


def test_cable_pulled_flushes_the_address_and_plugged_in_sets_it_again(make_rig):
    rig = make_rig(address_mode="static")
    rig.await_open()
    before = len(rig.board.commands())

    rig.board.cable(False)
    lost = await_commands(rig.board, before + 3)[before:]
    assert [text for _, text in lost] == [
        "sudo ifconfig eth0 up", "sudo ip addr flush dev eth0", "sudo rm -Rf /var/lib/dhcpcd/*"]
    assert "inet " not in rig.board.run(["ip", "-4", "address", "show", "dev", "eth0"]).stdout

    rig.board.cable(True)
    rig.display.wait_for("NETW_UP", count=2, timeout=30)
    back = [text for _, text in rig.board.commands()[before + 3:]]
    assert back[-3:] == CYCLE_COMMANDS
    assert set(back[:-3]) <= {"sudo ifconfig eth0 up", "sudo ip addr flush dev eth0"}
    rig.assert_good_transfer()


def test_address_goes_to_eth0_even_when_another_interface_is_configured(make_rig):
    rig = make_rig(address_mode="static", ini={"ethernet.interface": "eth1"})

    rig.display.wait_for("NETW_DN", timeout=20)

    assert [text for _, text in rig.board.commands()] == START_UP_COMMANDS
