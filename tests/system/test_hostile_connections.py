"""Peers that mean no good: many at once, resetting, and more than there are descriptors."""

import random
import socket
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support import packets
from support.rig import IDLE_SHARE, has_ended, peer_of, reset


def greeted(rig, mark):
    return rig.text_since(mark).count(console.connected("").strip())


def connect_many(rig, count):
    """That many connections, made at once; each may still wait to be accepted."""
    return [rig.board.pc.connect(DATA_PORT) for _ in range(count)]


def close_all(connections):
    for connection in connections:
        connection.close()


def assert_idle(rig, seconds=3):
    """Over a while in which nothing happens, the service takes next to none of the processor."""
    began = rig.service.cpu_seconds()
    time.sleep(seconds)
    assert rig.service.cpu_seconds() - began < IDLE_SHARE * seconds


def test_two_hundred_connections_at_once_are_all_served_and_dropped_together(rig):
    mark = rig.service.mark()
    connections = connect_many(rig, 200)
    wait_until(lambda: greeted(rig, mark) == 200, 30, "200 greetings")
    assert_idle(rig)

    for number, connection in enumerate(connections):
        connection.sendall(packet.file_packet(f"of{number}.bin", str(number).encode()))
    for number in range(200):
        rig.await_stored(f"of{number}.bin", str(number).encode())
    connections[77].sendall(bytes(20))
    rig.await_open(mark)

    text = rig.text_since(mark)
    assert text.count(console.failed(516)) == 1
    farewells = text.partition(console.CLOSING)[2].partition(console.CLOSED)[0]
    assert sorted(farewells.splitlines()) == sorted(console.disconnected(*map(peer_of, connections)).splitlines())
    close_all(connections)
    rig.assert_good_transfer()


@pytest.mark.parametrize("limit", [40, 64])
def test_more_connections_than_descriptors_neither_spin_nor_end_it_and_it_recovers(make_rig, limit):
    rig = make_rig(wrapper=["prlimit", f"--nofile={limit}"])
    rig.await_open()
    mark = rig.service.mark()
    connections = connect_many(rig, 3 * limit)
    wait_until(lambda: rig.text_since(mark).count("Too many connections, the newest is closed\n")
               + greeted(rig, mark) == 3 * limit, 30, "an answer to every connection")
    served = [connection for connection in connections if not has_ended(connection)]

    assert 0 < len(served) == greeted(rig, mark) < limit
    assert rig.service.fd_count() < limit
    assert_idle(rig)
    served[0].sendall(packet.file_packet("in.bin", b"in spite"))
    rig.await_stored("in.bin", b"in spite")

    close_all(connections)
    rig.await_open(mark)
    rig.assert_good_transfer()
    rig.assert_woken("NETW_UP")


def test_error_whose_peer_stays_burns_no_processor_time(rig):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.sendall(bytes(2000))
        rig.await_open(mark)
        assert_idle(rig)
        assert has_ended(connection)
    rig.assert_good_transfer()


@pytest.mark.long(30)
def test_storm_of_resets_at_random_points_leaves_a_usable_service(rig):
    dice = random.Random(2)
    whole = packet.file_packet("storm.bin", bytes(300))

    for _ in range(15):
        connections: list[socket.socket] = []
        while len(connections) < 20:
            try:
                connections.append(rig.board.pc.connect(DATA_PORT))
            except ConnectionError:
                time.sleep(0.02)
        for connection in connections:
            try:
                connection.sendall(whole[:dice.randrange(len(whole))])
                reset(connection)
            except (OSError, TimeoutError):
                connection.close()

    rig.send(packets.header(1))  # the end of this connection drops whatever is left of the storm
    rig.assert_good_transfer()
    assert_idle(rig)


def test_descriptors_and_threads_are_given_back_after_errors(rig):
    rig.service.wait_for(console.MULTICAST_RESUMED)  # its socket counts, too
    # Before any transfer: what is stored is written back by a thread that ends once the disk has it.
    descriptors, threads = rig.service.fd_count(), rig.service.thread_count()
    rig.assert_good_transfer()

    for _ in range(10):
        others = connect_many(rig, 5)
        rig.send(bytes(20))
        close_all(others)

    wait_until(lambda: (rig.service.fd_count(), rig.service.thread_count()) == (descriptors, threads), 10,
               f"{descriptors} descriptors and {threads} threads")
