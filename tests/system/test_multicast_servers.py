"""Transmitters' servers that are not there, do not answer, or do not read."""

import socket
import time

import pytest

from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol import packet
from support import multicast
from support.multicast import Transmitter

CONNECT_SECONDS = 5
SYN = 2


def closed_port(pc):
    with pc.socket() as probe:
        probe.bind((pc.address, 0))
        return probe.getsockname()[1]


def test_port_where_nobody_listens_costs_nothing_and_the_next_request_gets_its_reply_at_once(display, transmitter):
    mark = display.service.mark()
    port = closed_port(transmitter.pc)

    transmitter.ask(port=port)
    transmitter.ask(words=(5, 6))

    began = time.monotonic()
    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, words=(5, 6))
    assert time.monotonic() - began < multicast.REPLY_INTERVAL
    assert multicast.text_since(display, mark) == ""


def connections_begun(raw, port, seconds):
    """How many connections to a port of the PC are begun in that time; raw sees each packet with its headers."""
    count = 0
    deadline = time.monotonic() + seconds
    while (left := deadline - time.monotonic()) > 0:
        raw.settimeout(left)
        try:
            data = raw.recv(200)
        except TimeoutError:
            break
        tcp = data[(data[0] & 15) * 4:]
        count += int.from_bytes(tcp[2:4], "big") == port and tcp[13] == SYN
    return count


def test_one_sender_has_the_display_connect_twice_a_second_and_no_more(display, transmitter):
    seconds = 4
    port = closed_port(transmitter.pc)
    with transmitter.pc.socket(socket.SOCK_RAW, protocol=socket.IPPROTO_TCP) as raw:
        for number in range(400):
            transmitter.ask(port=port, words=(number, 1))

        begun = connections_begun(raw, port, seconds)

    assert 2 <= begun <= 2 * (seconds + 1)
    multicast.assert_replies(display, transmitter)


def test_server_that_appears_later_gets_its_reply_without_another_request(display, transmitter):
    port = closed_port(transmitter.pc)
    transmitter.ask(port=port)

    with transmitter.pc.socket() as late:
        late.bind((transmitter.pc.address, port))
        late.listen()
        transmitter.listener, old = late, transmitter.listener
        reply = transmitter.take_reply(timeout=5)
        transmitter.listener = old

    assert reply[0] == multicast.reply_bytes(display.board)


@pytest.mark.long(30)
def test_server_that_does_not_answer_holds_the_display_for_five_seconds_and_no_longer(display, transmitter):
    with Transmitter(display.board.pc) as silent:
        silent.let_connections_hang()
        silent.ask()
        time.sleep(0.2)
        began = time.monotonic()
        transmitter.ask(words=(7, 8))

        assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, words=(7, 8))

        assert CONNECT_SECONDS - 1 <= time.monotonic() - began < CONNECT_SECONDS + 4


@pytest.mark.long(30)
def test_stop_while_connecting_to_a_server_that_does_not_answer_takes_no_longer_than_that(display, transmitter):
    transmitter.let_connections_hang()
    transmitter.ask()
    time.sleep(0.5)
    asked = time.monotonic()

    display.service.terminate()

    assert display.service.wait(30) == 0
    assert time.monotonic() - asked < CONNECT_SECONDS + 9  # a cycle of MainTask may be under way besides


@pytest.mark.long(30)
def test_server_name_that_nobody_resolves_holds_the_display_for_five_seconds_and_no_longer(display, transmitter):
    """The name server's host is there and says nothing."""
    with transmitter.pc.socket(2) as name_server:
        name_server.bind((transmitter.pc.address, 53))
        display.board.write("/etc/resolv.conf", f"nameserver {transmitter.pc.address}\n")
        entry = multicast.server_entry(transmitter.port, "transmitter.example")
        transmitter.send(multicast.request_packet(content=entry))
        assert name_server.recv(1000)
        began = time.monotonic()
        transmitter.ask(words=(9, 9))

        assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, words=(9, 9))

        assert CONNECT_SECONDS - 1 <= time.monotonic() - began < CONNECT_SECONDS + 4


def test_server_may_be_given_by_a_name(display, transmitter):
    hosts = display.board.path("/etc/hosts").read_text()
    display.board.write("/etc/hosts", hosts + f"{transmitter.pc.address} transmitter.example\n")
    entry = multicast.server_entry(transmitter.port, "transmitter.example")

    transmitter.send(multicast.request_packet(content=entry))

    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board)


@pytest.mark.long(40)
def test_server_that_accepts_and_never_reads_delays_nothing(display, transmitter):
    transmitter.ask(words=(1, 1))
    connection, _ = transmitter.listener.accept()
    transmitter.send(packet.status_packet())
    with connection:
        time.sleep(multicast.REPLY_INTERVAL + 0.2)
        with Transmitter(display.board.pc) as other:
            other.ask(words=(2, 2))
            assert other.take_reply()[0] == multicast.reply_bytes(display.board, words=(2, 2))
        connection.settimeout(5)
        with connection.makefile("rb") as stream:
            assert stream.read() == multicast.reply_bytes(display.board, words=(1, 1))


@pytest.mark.long(40)
def test_each_reply_has_a_connection_of_its_own_and_leaves_no_descriptor_open(display, transmitter):
    before = display.service.fd_count()
    for _ in range(3):
        transmitter.ask()
        transmitter.take_reply()
        time.sleep(multicast.REPLY_INTERVAL)

    wait_until(lambda: display.service.fd_count() <= before, 10, "the descriptors' end")
