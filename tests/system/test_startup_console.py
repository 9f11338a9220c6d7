"""What a start-up reports, byte for byte, and what follows from the values it has read."""

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import MAKER_WORK, WORK
from quendal_tools.configuration.ini_text import with_keys
from support.interleaving import is_interleaving
from support.static_address import SET_ADDRESS, SET_GATEWAY, ROUTE_IS_THERE, nothing_to_kill

DIP = MAKER_WORK + "/DIP.ini"
LAYOUT = WORK + "/CurLayOut.cfg"

DATA_TASK = [console.DATA_TASK_START, console.WAITING, console.OPENING, console.OPEN]


@pytest.fixture
def report(make_rig):
    """Starts on such a board and gives what was written before the first task ran."""
    def start(**options):
        rig = make_rig(**options)
        rig.service.wait_for(console.DATA_TASK_START)
        return console.before_tasks(rig.text_since(0))

    return start


def await_multicast(rig):
    rig.service.wait_for(console.MULTICAST_RESUMED, timeout=20)


def test_default_configuration_up_to_the_open_port(rig):
    text = rig.text_since(0)

    assert text.startswith(console.start_up())
    assert is_interleaving(
        text.removeprefix(console.start_up()), DATA_TASK,
        [console.LINKED, console.DHCP_OK, console.LINKED, console.BACK_ON, console.LINKED])
    await_multicast(rig)
    assert rig.multicast_since(0) == console.multicast_opening()
    assert rig.service.stderr_text().count(console.VIDEO_START) == 1
    assert rig.service.stdout_text() == ""
    assert [command for _, command in rig.board.commands()] == [
        "sudo ifconfig eth0 up", "sudo dhcpcd -d eth0 -t 30 -L"]


def test_everything_set_up_to_the_open_port(make_rig):
    keys = {"lcdMcastIp": "239.1.2.3", "lcdMcastPort": 4001, "MTTL": 7, "mcRstHrFactor": 6, "McastReplyByTCP": "true",
            "lcdDataPort": 4000, "kvIdFile": "/data/identity.ini", "targetRootDir": "data/received",
            "usbSourceListFile": "list.spt", "ethernet.interface": "eth0"}
    rig = make_rig(address_mode="static", ini=keys, files={
        "/data/identity.ini": "GROUPNO = 65535\nCOLUMNNO = 65536\nDISPLAYNO = 0x10\n",
        DIP: "DIP_Byte0 = 0x41\n", LAYOUT: "[Panel]\nOrientation = 270\n"})

    rig.await_open()

    address, gateway = console.command(SET_ADDRESS), console.command(SET_GATEWAY)
    begin = console.start_up(
        static=nothing_to_kill(rig.board) + address + gateway, group="239.1.2.3", identity="65535/0/16",
        dip="HALL Type, Unit ID = 1", orientation="Portrait Inverted")
    text = rig.text_since(0)
    assert text.startswith(begin)
    assert is_interleaving(
        text.removeprefix(begin), DATA_TASK,
        [console.LINKED, address, gateway, ROUTE_IS_THERE, console.LINKED, console.BACK_ON, console.LINKED])
    await_multicast(rig)
    opening = console.multicast_opening(ttl=7)
    assert rig.multicast_since(0, opening) == opening


def test_second_start_finds_its_directories(report):
    files = {"/tmp/Dest/x": "", "/tmp/Work/x": ""}

    assert report(files=files) == console.start_up(created="")


def test_without_interface_key_eth0_is_used_and_not_reported(make_rig):
    rig = make_rig(ini={"ethernet.interface": None})

    rig.await_open()

    assert rig.text_since(0).startswith(console.start_up(interface=None))
    assert "sudo ifconfig eth0 up" in [command for _, command in rig.board.commands()]


@pytest.mark.parametrize("text", ["239.255.77", "239.255.77.256"])
def test_group_that_is_no_address_becomes_the_wildcard_and_the_start_goes_on(report, text):
    converted = {"239.255.77": "239.255.0.77"}.get(text, "0.0.0.0")

    assert report(ini={"lcdMcastIp": text}) == console.start_up(group=text, converted=converted)


@pytest.mark.parametrize("content, said", [
    ("DIP_Byte0 = 7F\n", "Car Type, Unit ID = 63"),
    ("DIP_Byte0 = 41\n", "HALL Type, Unit ID = 1"),
])
def test_dip_switch_report(report, content, said):
    assert report(files={DIP: content}) == console.start_up(dip=said)


@pytest.mark.parametrize("degrees, name", [(90, "Portrait"), (360, "")])
def test_orientation_report(report, degrees, name):
    assert report(files={LAYOUT: f"[Panel]\nOrientation = {degrees}\n"}) == console.start_up(orientation=name)


def test_data_port_is_cut_to_16_bits(make_rig):
    rig = make_rig(ini={"lcdDataPort": "0x11170"})

    rig.await_open()

    with rig.board.pc.connect(4464) as connection:
        rig.service.wait_for(console.connected("{}:{}".format(*connection.getsockname())))


def test_last_of_two_values_counts_and_an_ini_with_crlf_is_read(report, make_board):
    text = with_keys(make_board().path(WORK + "/Quendal_L.ini").read_text(), {"lcdMcastIp": "239.1.1.1"})
    twice = text.replace("lcdMcastIp = 239.1.1.1", "lcdMcastIp = 239.2.2.2\nlcdMcastIp = 239.3.3.3")

    said = report(files={WORK + "/Quendal_L.ini": twice.replace("\n", "\r\n")})

    assert said == console.start_up(group="239.3.3.3")
