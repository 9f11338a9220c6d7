"""What is noticed of displays that are watched."""

import io

import pytest
from rich.console import Console

from quendal_tools.commands.watch_screen import WatchScreen
from quendal_tools.commands.watched_displays import WatchedDisplays
from quendal_tools.protocol.alive import Descriptor
from quendal_tools.protocol.discovery import Heartbeat, Replied


def replied(source, numbers, hardware=None):
    group, column, unit = numbers
    return Replied(source, Descriptor(group, column, unit, source, hardware), 0.1)


def kinds(changes):
    return [(change.kind, change.other) for change in changes]


@pytest.fixture(name="watched")
def _watched():
    return WatchedDisplays(silent_after=25)


def test_a_display_is_new_once_whether_it_beats_or_replies_first(watched):
    assert kinds(watched.note(Heartbeat("10.0.0.1"), 1)) == [("new", None)]
    assert kinds(watched.note(replied("10.0.0.1", (1, 2, 3)), 2)) == []
    assert kinds(watched.note(replied("10.0.0.2", (1, 2, 4)), 2)) == [("new", None)]


def test_a_display_is_silent_once_and_back_once(watched):
    watched.note(Heartbeat("10.0.0.1"), 0)

    assert kinds(watched.look(25)) == []
    assert kinds(watched.look(25.1)) == [("silent", None)]
    assert kinds(watched.look(60)) == []
    assert kinds(watched.note(Heartbeat("10.0.0.1"), 61)) == [("back", None)]
    assert kinds(watched.look(61)) == []


def test_a_reply_keeps_a_display_from_being_silent_as_a_heartbeat_does(watched):
    watched.note(Heartbeat("10.0.0.1"), 0)
    watched.note(replied("10.0.0.1", (1, 2, 3)), 20)

    assert kinds(watched.look(45)) == []


def test_hardware_that_turns_up_at_another_address_has_moved(watched):
    watched.note(replied("10.0.0.1", (1, 2, 3), "02:00:00:00:00:01"), 0)
    watched.note(replied("10.0.0.2", (1, 2, 4), "02:00:00:00:00:02"), 0)

    assert kinds(watched.note(replied("10.0.0.9", (1, 2, 3), "02:00:00:00:00:01"), 5)) == [("moved", "10.0.0.1")]
    assert [display.address for display in watched.all()] == ["10.0.0.9", "10.0.0.2"]
    assert kinds(watched.look(100)) == [("silent", None)] * 2


def test_two_displays_whose_hardware_is_not_known_are_two(watched):
    watched.note(replied("10.0.0.1", (1, 2, 3)), 0)

    assert kinds(watched.note(replied("10.0.0.9", (1, 2, 4)), 5)) == [("new", None)]


def test_numbers_that_change_and_numbers_that_two_have_are_told_once(watched):
    watched.note(replied("10.0.0.1", (1, 2, 3)), 0)
    assert kinds(watched.note(replied("10.0.0.2", (1, 2, 3)), 1)) == [("new", None), ("double", "1/2/3")]
    assert kinds(watched.note(replied("10.0.0.2", (1, 2, 3)), 2)) == []
    assert kinds(watched.note(replied("10.0.0.2", (1, 2, 4)), 3)) == [("renumbered", "1/2/3")]
    assert kinds(watched.note(replied("10.0.0.2", (1, 2, 3)), 4)) == [("renumbered", "1/2/4"), ("double", "1/2/3")]


def shown(watched, now, width=100, height=20):
    screen = WatchScreen(watched, 0)
    screen.now = now
    output = io.StringIO()
    console = Console(file=output, width=width, height=height, force_terminal=True, color_system="standard")
    console.print(screen, height=height)
    return output.getvalue()


def test_the_screen_has_a_colour_for_each_trouble(watched):
    watched.note(replied("10.0.0.1", (1, 1, 1)), 0)
    watched.look(70)
    watched.note(replied("10.0.0.2", (1, 1, 2)), 70)
    watched.note(replied("10.0.0.3", (1, 1, 2)), 70)
    watched.note(replied("10.0.0.4", (1, 1, 4), "02:00:00:00:00:04"), 70)
    watched.note(replied("10.0.0.5", (1, 1, 4), "02:00:00:00:00:04"), 70)
    watched.note(replied("10.0.0.6", (1, 1, 6)), 70)
    text = shown(watched, 71)

    assert "5 displays, 1 silent, 2 double, 1 moved, 1 new." in text
    for colour, word in (("1;31m", "silent"), ("33m", "double"), ("35m", "moved from 10.0.0.4"), ("32m", "new")):
        assert any(colour in line and word in line for line in text.splitlines()), (colour, word)


def test_two_hundred_and_forty_displays_fit_on_a_large_screen_and_troubles_come_first_on_a_small_one(watched):
    for number in range(240):
        watched.note(replied(f"10.0.0.{number}", (1, number // 10, number % 10)), 0)
    large = shown(watched, 1, width=240, height=60)
    assert all(f"10.0.0.{number} " in large for number in range(240))
    assert len(large.splitlines()) <= 60

    for number in range(239):
        watched.note(Heartbeat(f"10.0.0.{number}"), 30)
    watched.look(31)
    small = shown(watched, 31, width=80, height=24)
    assert "10.0.0.239" in small.splitlines()[1] and "silent" in small.splitlines()[1]
    assert "and 221 more" in small
    assert "240 displays, 1 silent." in small
    assert len(small.splitlines()) <= 24
