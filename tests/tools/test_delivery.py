"""How a package is brought to displays that store it, drop it, stall or are not there."""

import contextlib
import threading
import time

import pytest

from played_receiver import PlayedReceiver, addresses, drops, drops_late, first, stalls, stores
from quendal_tools.distribution.delivery import Manner, State
from quendal_tools.distribution.package import Package, PackagedFile
from quendal_tools.distribution.run import Distribution
from quendal_tools.distribution.selection import Target
from quendal_tools.protocol import packet
from quendal_tools.protocol.receipt import SEAL

# More than two systems' buffers hold between them, so that whoever takes nothing is noticed.
BIG = 16 << 20
PATIENCE = 2.0


@pytest.fixture(name="package")
def _package(tmp_path):
    paths = [tmp_path / "small.ts", tmp_path / "big.ts"]
    for path, size in zip(paths, (100, BIG)):
        path.write_bytes(bytes(size))
    return Package(tuple(PackagedFile(path, path.name, path.stat().st_size) for path in paths),
                   ("FileList.sys", b"small.ts\r\nbig.ts\r\n"))


@pytest.fixture(name="play")
def _play():
    """Displays with these behaviours on loopback addresses, None for one that is away, and their port."""
    with contextlib.ExitStack() as stack:
        def play(*behaviours):
            port, receivers = 0, []
            for address, behaviour in zip(addresses(len(behaviours)), behaviours):
                if behaviour:
                    receivers.append(stack.enter_context(contextlib.closing(
                        PlayedReceiver(address, behaviour, port))))
                    port = receivers[-1].port
            return receivers, port, [Target(address) for address in addresses(len(behaviours))]

        yield play


def run(package, targets, port, jobs=4, tries=3, watch=lambda distribution: None, patience=PATIENCE):
    distribution = Distribution(package, targets, Manner(port, tries, patience), jobs)
    with distribution:
        while not distribution.look():
            watch(distribution)
            time.sleep(0.02)
    return distribution.run


def test_what_is_sent_is_the_transfer_and_the_seal_behind_it(play, package):
    (receiver,), port, targets = play(stores)

    run(package, targets, port)
    assert receiver.received == [b"".join([
        packet.file_packet("FileList.sys", b"small.ts\r\nbig.ts\r\n"), packet.file_packet("small.ts", bytes(100)),
        packet.file_packet("big.ts", bytes(BIG)), packet.file_packet("kvXferStop.sys", b""), SEAL])]


def test_a_display_is_tried_again_until_it_has_stored_everything(play, package):
    (receiver,), port, targets = play(first(2, drops, stores))

    delivery, = run(package, targets, port).deliveries
    assert delivery.state == State.STORED
    assert [bool(attempt.reason) for attempt in delivery.attempts] == [True, True, False]
    assert len(receiver.received) == 3


def test_three_tries_are_the_end(play, package):
    (receiver,), port, targets = play(drops)

    done = run(package, targets, port)
    assert (done.deliveries[0].state, len(receiver.received)) == (State.FAILED, 3)
    assert "dropped the connection" in done.deliveries[0].reason
    assert not done.all_stored


def test_a_file_that_could_not_be_stored_is_told_from_a_connection_that_was_lost(play, package):
    _, port, targets = play(drops_late)

    delivery, = run(package, targets, port, tries=1, patience=30).deliveries
    assert "could not be stored" in delivery.reason


def test_displays_that_stall_or_are_away_hold_nobody_up(play, package):
    """With a single turn at a time, each of them would."""
    receivers, port, targets = play(stalls, None, stalls, *[stores] * 6)
    stored_after: list[float] = []

    def watch(distribution):
        if not stored_after and distribution.run.count(State.STORED) == 6:
            stored_after.append(distribution.run.seconds)

    done = run(package, targets, port, jobs=1, tries=1, watch=watch, patience=15)
    assert [delivery.state for delivery in done.deliveries] == 3 * [State.FAILED] + 6 * [State.STORED]
    assert [delivery.reason for delivery in done.deliveries[::2]][:2] == 2 * ["it has taken nothing for 15 s"]
    assert "nobody listens" in done.deliveries[1].reason
    # Two stalls of a second each until the turn is lent, not the patience with the first of them.
    assert stored_after[0] < 15
    assert [len(receiver.received) for receiver in receivers[2:]] == 6 * [1]


def test_a_display_that_was_not_found_is_told_and_not_connected_to(package):
    delivery, = run(package, [Target(None)], 1).deliveries
    assert (delivery.state, delivery.attempts) == (State.FAILED, [])
    assert "did not reply" in delivery.reason


def test_a_file_that_has_gone_in_between_is_told_and_not_tried_again(play, package):
    (receiver,), port, targets = play(stores)
    package.files[1].path.unlink()

    delivery, = run(package, targets, port).deliveries
    assert "big.ts cannot be read: No such file" in delivery.reason
    assert len(delivery.attempts) == 1


def test_a_file_that_becomes_shorter_while_it_is_sent_is_told_and_not_tried_again(play, package):
    shortened = threading.Event()

    def stores_later(receiver, connection):
        shortened.wait(20)
        stores(receiver, connection)

    def shorten(distribution):
        if distribution.run.sent > 1 << 16 and not shortened.is_set():
            package.files[1].path.write_bytes(b"short")
            shortened.set()

    _, port, targets = play(stores_later)
    delivery, = run(package, targets, port, watch=shorten, patience=30).deliveries
    assert "has become shorter" in delivery.reason
    assert len(delivery.attempts) == 1


def test_a_run_that_is_interrupted_ends_at_once_and_says_who_has_it(play, package):
    _, port, targets = play(stores, stalls, None)
    distribution = Distribution(package, targets, Manner(port), 4)
    with distribution:
        while not (distribution.look() or distribution.run.count(State.STORED)):
            time.sleep(0.02)
        begin = time.monotonic()

    assert time.monotonic() - begin < 3
    assert [delivery.state for delivery in distribution.run.deliveries][:2] == [State.STORED, State.INTERRUPTED]


def test_more_displays_than_turns_all_get_it(play, package):
    receivers, port, targets = play(*[stores] * 20)

    assert run(package, targets, port, jobs=3).all_stored
    assert [len(receiver.received) for receiver in receivers] == 20 * [1]
