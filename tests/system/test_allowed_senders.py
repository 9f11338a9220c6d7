"""Hosts that are not in allowedSenders are not there, for TCP and for the group; and no host may name the display."""

import contextlib
import socket
import time

import pytest

from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT, GATEWAY, GROUP, GROUP_PORT
from quendal_tools.protocol import packet
from support import multicast
from support.multicast import Transmitter
from support.rig import has_ended

OUTSIDER = "192.168.77.200"
LISTED = {"allowedSenders": f"10.0.0.0/8, {GATEWAY}"}


@pytest.fixture(name="listed")
def _listed(make_rig):
    """A display that listens to the PC's own address, beside which the PC has another."""
    rig = make_rig(ini=LISTED)
    rig.board.pc.run(["ip", "address", "add", f"{OUTSIDER}/24", "dev", "br0"], check=True)
    multicast.await_resumed_and_due(rig)
    rig.await_ready()
    return rig


@contextlib.contextmanager
def outsiders_connection(board):
    with board.pc.socket() as connection:
        connection.settimeout(10)
        connection.bind((OUTSIDER, 0))
        connection.connect((board.address, DATA_PORT))
        yield connection


@contextlib.contextmanager
def outsiders_datagrams(board):
    """A function that sends one to the group, from elsewhere."""
    with board.pc.socket(socket.SOCK_DGRAM) as sender:
        sender.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton(OUTSIDER))
        sender.bind((OUTSIDER, 0))
        yield lambda datagram: sender.sendto(datagram, (GROUP, GROUP_PORT))


def test_connection_from_elsewhere_is_closed_at_once_and_the_others_stay(listed):
    mark = listed.service.mark()
    good = listed.connect()

    with outsiders_connection(listed.board) as refused:
        wait_until(lambda: has_ended(refused), 10, "the end of the connection")
        good.sendall(packet.file_packet("good.bin", b"good"))
        listed.await_stored("good.bin", b"good")

    text = listed.text_since(mark)
    assert text.count(f"A connection from {OUTSIDER}, which is no allowed sender, is closed\n") == 1
    assert text.count(OUTSIDER) == 1
    good.close()


def test_request_from_elsewhere_gets_no_reply_and_is_not_the_one_that_is_handled_again(listed):
    with Transmitter(listed.board.pc) as transmitter, outsiders_datagrams(listed.board) as send:
        entry = multicast.server_entry(transmitter.port)
        for number in range(30):
            send(multicast.request_packet(content=entry, words=(number, 0xBAD)))
        assert not transmitter.has_connection(within=3)

        transmitter.ask(words=(5, 6))

        assert transmitter.take_reply()[0] == multicast.reply_bytes(listed.board, words=(5, 6))


@pytest.mark.long(40)
def test_datagrams_from_elsewhere_do_not_put_the_heartbeat_off(listed):
    """A time-out is counted each second, whatever comes from elsewhere in between; the eleventh second has a beat."""
    with Transmitter(listed.board.pc) as transmitter, outsiders_datagrams(listed.board) as send:
        transmitter.send(packet.status_packet())
        beats: list[float] = []
        deadline = time.monotonic() + 26
        while time.monotonic() < deadline and len(beats) < 2:
            send(packet.status_packet())
            with contextlib.suppress(TimeoutError):
                data, source, _, moment = transmitter.heard(0.7)
                if source == listed.board.address and data == multicast.HEARTBEAT:
                    beats.append(moment)

    assert len(beats) == 2
    assert beats[1] - beats[0] < 14


def test_no_reply_goes_to_a_server_elsewhere(listed):
    with Transmitter(listed.board.pc) as transmitter, listed.board.pc.socket() as elsewhere:
        elsewhere.bind((OUTSIDER, 0))
        elsewhere.listen()
        entry = multicast.server_entry(elsewhere.getsockname()[1], OUTSIDER)
        transmitter.send(multicast.request_packet(content=entry))
        elsewhere.settimeout(3)
        with pytest.raises(TimeoutError):
            elsewhere.accept()

        transmitter.ask(words=(5, 6))

        assert transmitter.take_reply()[0] == multicast.reply_bytes(listed.board, words=(5, 6))


@pytest.mark.parametrize("address", ["127.0.0.1", "0.0.0.0", "own"])
def test_display_that_is_named_as_the_server_stores_nothing_and_keeps_its_transmitter(display, transmitter, address):
    display.await_ready()
    connection = display.connect()
    mark = display.service.mark()
    before = sorted(path.name for path in display.board.path(TARGET).iterdir())
    host = display.board.address if address == "own" else address

    transmitter.send(multicast.request_packet(content=multicast.server_entry(DATA_PORT, host)))
    time.sleep(3)

    assert display.text_since(mark) == ""
    assert sorted(path.name for path in display.board.path(TARGET).iterdir()) == before
    transmitter.ask(words=(5, 6))
    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, words=(5, 6))
    assert not has_ended(connection)
    connection.close()


def test_bad_list_ends_the_start_and_names_the_entry(start):
    status, text, _ = start(ini={"allowedSenders": f"{GATEWAY}, 192.168.77.5/24"})

    assert status == 101
    assert text.endswith("Invalid argument: Tessane Param.allowedSenders: the network's address has bits set behind "
                         "its prefix: '192.168.77.5/24'")
