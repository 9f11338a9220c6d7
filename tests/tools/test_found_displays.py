"""What is kept of the displays that were heard of."""

import pytest

from quendal_tools.commands.found_displays import FoundDisplays
from quendal_tools.protocol.alive import Descriptor
from quendal_tools.protocol.discovery import Heartbeat, Replied

HARDWARE_ADDRESS = "00:11:22:33:44:55"


def replied(source, numbers, seconds=0.5, round_trip=None):
    group, column, unit = numbers
    return Replied(source, Descriptor(group, column, unit, source, HARDWARE_ADDRESS), seconds, round_trip)


def test_displays_are_sorted_by_their_numbers_and_those_only_heard_stand_apart():
    found = FoundDisplays()
    for source, numbers in (("192.168.0.20", (1, 10, 3)), ("192.168.0.21", (1, 2, 3)), ("192.168.0.22", (1, 2, 1))):
        assert found.note(replied(source, numbers))[1]
    found.note(Heartbeat("192.168.0.23"))

    assert [display.source for display in found.replied()] == ["192.168.0.22", "192.168.0.21", "192.168.0.20"]
    assert [display.source for display in found.only_heard()] == ["192.168.0.23"]
    assert found.table(watched=True).row_count == 4


def test_numbers_that_two_displays_go_by_are_noticed():
    found = FoundDisplays()
    for source, numbers in (("192.168.0.20", (1, 2, 3)), ("192.168.0.21", (1, 2, 3)), ("192.168.0.22", (1, 2, 1))):
        found.note(replied(source, numbers))

    assert found.shared_numbers() == {(1, 2, 3)}


def test_a_later_reply_brings_new_numbers_and_the_shortest_round_trip_is_kept():
    found = FoundDisplays()
    found.note(replied("192.168.0.20", (1, 2, 3), round_trip=0.002))
    found.note(replied("192.168.0.20", (1, 2, 3), round_trip=0.001))
    entry, first = found.note(replied("192.168.0.20", (9, 9, 9), round_trip=0.003))

    assert not first
    assert (entry.numbers(), entry.network) == ((9, 9, 9), 0.001)


def test_heartbeats_are_counted_by_where_they_come_from():
    found = FoundDisplays()
    found.note(replied("192.168.0.20", (1, 2, 3)))
    for source in ("192.168.0.20", "192.168.0.21", "192.168.0.20"):
        entry, first = found.note(Heartbeat(source))

    assert (entry.source, entry.heartbeats, first) == ("192.168.0.20", 2, False)


@pytest.mark.parametrize(("seconds", "round_trip", "network"), [
    (2.0208, 0.0004, 0.0004), (0.003, 0.0004, 0.0004), (0.003, None, 0.003), (2.0208, None, None),
])
def test_a_reply_that_has_waited_for_the_limit_says_nothing_about_the_network(seconds, round_trip, network):
    assert replied("192.168.0.20", (1, 2, 3), seconds, round_trip).network_seconds == network
