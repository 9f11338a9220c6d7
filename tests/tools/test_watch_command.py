"""The transmitter's watch command as scripts and people see it."""

import functools
import json
import signal

import pytest

from played_display import GROUP, reply_to


@pytest.fixture(name="watch")
def _watch(start_transmitter):
    return functools.partial(start_transmitter, "watch")


def test_changes_come_as_one_json_object_a_line(watch, display):
    process = watch("--json", "--silent-after", "1", "--every", "60")
    request = display.hear()
    display.send(request, reply_to(request))
    events = [json.loads(process.stdout.readline()) for _ in range(2)]
    display.heartbeat()
    events.append(json.loads(process.stdout.readline()))

    assert [event["event"] for event in events] == ["new", "silent", "back"]
    assert events[1]["heard_seconds_ago"] >= 1
    assert (events[0]["numbers"], events[0]["address"], events[0]["hardware_address"]) == (
        [1, 2, 3], "127.0.0.1", "00:11:22:33:44:55")


def test_without_a_terminal_changes_are_lines_and_the_end_is_the_screen(watch, display):
    process = watch("--every", "60")
    request = display.hear()
    display.send(request, reply_to(request))
    first = process.stdout.readline()
    process.send_signal(signal.SIGINT)

    output, errors = process.communicate(timeout=20)
    assert (process.returncode, errors) == (0, "")
    assert first.endswith(" 1/2/3 (127.0.0.1) is there\n")
    assert output.splitlines()[-1] == "1 display."


def test_a_watch_that_hears_nobody_ends_with_status_1(watch):
    process = watch("--seconds", "0.3")

    output, errors = process.communicate(timeout=20)
    assert (process.returncode, errors, output.splitlines()[-1]) == (1, "", "0 displays.")


def test_an_interface_that_is_not_there_is_told(watch, port):
    process = watch("--interface", "none0")

    _, errors = process.communicate(timeout=20)
    assert (process.returncode, errors) == (
        1, f"transmitter: {GROUP} port {port}: interface none0: No such device\n")
