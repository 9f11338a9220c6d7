"""The transmitter's discover command as scripts and people see it."""

import functools
import json
import re
import signal
import subprocess
import sys
import time

import pytest

from played_display import reply_to
from python_tree import TRANSMITTER
from quendal_tools.configuration.example import GROUP_PORT


@pytest.fixture(name="start")
def _start(start_transmitter):
    return functools.partial(start_transmitter, "discover")


def test_replies_come_as_a_table_and_a_sentence(start, display):
    process = start("--seconds", "1.5", "--every", "9")
    request = display.hear()
    display.send(request, reply_to(request))

    output, errors = process.communicate(timeout=20)
    assert (process.returncode, errors) == (0, "")
    row = next(line for line in output.splitlines() if "192.168.0.20" in line)
    assert "192.168.0.20 (from 127.0.0.1) │ 00:11:22:33:44:55 │" in row
    assert re.fullmatch(r"1 display replied, the farthest 0\.[0-9]{2} ms away\.", output.splitlines()[-1])


def test_the_milliseconds_are_the_networks_however_late_the_reply_comes(start, display):
    process = start("--json", "--seconds", "3", "--every", "9")
    request = display.hear()
    time.sleep(1)
    display.send(request, reply_to(request))

    event = json.loads(process.stdout.readline())
    assert 0 < event["milliseconds"] < 500


def test_events_come_as_one_json_object_a_line(start, display):
    process = start("--watch", "--json", "--every", "60")
    request = display.hear()
    display.send(request, b"")
    display.send(request, reply_to(request))
    display.heartbeat()

    events = [json.loads(process.stdout.readline()) for _ in range(3)]
    assert sorted(event["event"] for event in events) == ["heartbeat", "refused", "replied"]
    replied = next(event for event in events if event["event"] == "replied")
    assert 0 < replied.pop("milliseconds") < 20000
    assert replied == {"event": "replied", "source": "127.0.0.1", "group": 1, "column": 2, "unit": 3,
                       "address": "192.168.0.20", "hardware_address": "00:11:22:33:44:55"}


@pytest.mark.parametrize("how", [signal.SIGINT, signal.SIGTERM])
def test_a_watch_that_is_interrupted_shows_what_it_has_found(start, display, how):
    process = start("--watch", "--every", "0.2")
    request = display.hear()
    display.send(request, reply_to(request))
    display.hear()
    display.hear()
    process.send_signal(how)

    output, errors = process.communicate(timeout=20)
    assert (process.returncode, errors) == (0, "")
    assert "heartbeats" in output
    assert output.splitlines()[-1].startswith("1 display replied")


def test_no_reply_is_status_1(start):
    process = start("--seconds", "0.2")

    output, errors = process.communicate(timeout=20)
    assert (process.returncode, errors) == (1, "")
    assert output.splitlines()[-1] == "No display has replied."


def test_an_address_that_is_no_group_is_said_to_be_wrong():
    process = subprocess.run([sys.executable, TRANSMITTER, "discover", "--address", "127.0.0.1", "--interface", "lo"],
                             capture_output=True, text=True, check=False)

    assert process.returncode == 1
    assert process.stderr.startswith(f"transmitter: 127.0.0.1 port {GROUP_PORT}: ")


@pytest.mark.parametrize("words", [("--unit", "65536"), ("--unit", "-1"), ("--seconds", "0"), ("--every", "nan")])
def test_senseless_options_are_refused(words):
    process = subprocess.run(
        [sys.executable, TRANSMITTER, "discover", *words], capture_output=True, text=True, check=False)

    assert process.returncode == 2
