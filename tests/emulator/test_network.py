"""The link on real hardware: DHCP, the cable, and what the service does to the network for them."""

import hashlib
import random

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET


def content(size):
    return random.Random(size).randbytes(size)


def send(rig, files):
    with rig.transmitter() as transmitter:
        transmitter.begin(list(files))
        for name, data in files.items():
            transmitter.send_bytes(name, data)
        transmitter.end()
        transmitter.await_acknowledged()


def sockets_of_the_service(rig, kind):
    """How many sockets of a kind ("t" for TCP, the listening one included, "u" for UDP) the service has."""
    return int(rig.tell(f"ss -Han{kind}p | grep -c Quendal_L"))


def test_dhcp_brings_the_link_up_and_a_transfer_arrives(make_rig):
    rig = make_rig()
    data = content(3_000_000)

    rig.await_link()
    send(rig, {"clip.ts": data})
    rig.await_event("RXCOMPLETE")

    assert console.DHCP in rig.service.stderr_text()
    assert "inet 10.0.2.15/24" in rig.tell("ip address show dev eth0")
    assert rig.tell("ls /var/lib/dhcpcd") == "duid\neth0.lease\n"
    assert rig.board.display.names() == ["NETW_UP", "START2RX", "RXCOMPLETE"]
    assert rig.tell(f"ls {TARGET}") == "FileList.sys\nclip.ts\nkvXferStop.sys\n"
    assert rig.stored_sum("clip.ts") == hashlib.sha256(data).hexdigest()


def test_pulled_cable_pauses_the_network_and_clears_the_leases_until_it_is_back(make_rig):
    rig = make_rig()
    rig.await_link()
    assert (sockets_of_the_service(rig, "t"), sockets_of_the_service(rig, "u")) == (1, 1)

    mark = rig.service.mark()
    rig.board.link(False)
    rig.await_event("NETW_DN")
    rig.await_text(console.MULTICAST_TASK_PAUSED, after=mark)
    rig.await_text(console.DATA_TASK_PAUSED, after=mark)
    rig.await_answer("ls /var/lib/dhcpcd", "")

    assert (sockets_of_the_service(rig, "t"), sockets_of_the_service(rig, "u")) == (0, 0)
    assert "inet " not in rig.tell("ip address show dev eth0")

    mark = rig.service.mark()
    rig.board.link(True)
    rig.await_text(console.BACK_ON, after=mark)
    rig.await_link(count=2)
    send(rig, {"after.bin": b"after the cable came back"})
    rig.await_event("RXCOMPLETE")

    assert rig.tell(f"cat {TARGET}/after.bin") == "after the cable came back"
    assert "inet 10.0.2.15/24" in rig.tell("ip address show dev eth0")
    assert rig.board.display.names().count("NETW_UP") == 2


def test_reboot_file_restarts_the_board(make_rig):
    rig = make_rig()
    rig.await_link()

    with rig.transmitter() as transmitter:
        transmitter.send_bytes("reboot.cfg", b"")
    rig.await_reboot()

    assert rig.board.display.names() == ["NETW_UP", "RXCOMPLETE"]
    assert "reboot: Restarting system" in rig.board.console_text()
