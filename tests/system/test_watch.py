"""Real displays on one screen: one is pulled from the network, another gets another address."""

import json
import subprocess
import time

import pytest

from quendal_tools.board import console
from quendal_tools.configuration.places import TOOLS
from quendal_tools.sandbox.fleet import Fleet
from quendal_tools.sandbox.pc import SandboxUnavailable

BOARDS = 3
SILENT_WITHIN = 30


@pytest.fixture(name="fleet")
def _fleet(quendal):
    try:
        with Fleet(BOARDS) as fleet:
            for service in fleet.start_services(quendal):
                service.wait_for(console.MULTICAST_RESUMED, timeout=30)
            yield fleet
    except SandboxUnavailable as error:
        pytest.skip(str(error))


def next_event(process, kind):
    while event := json.loads(process.stdout.readline()):
        if event["event"] == kind:
            return event
    raise AssertionError("the watch has ended")


@pytest.mark.long(60)
def test_a_display_that_is_pulled_is_silent_within_30_s_and_back_when_it_is_plugged_again(fleet):
    process = fleet.pc.popen([TOOLS / "transmitter", "watch", "--json"], stdout=subprocess.PIPE)
    there = {next_event(process, "new")["address"] for _ in range(BOARDS)}
    assert there == {board.address for board in fleet.boards}

    pulled = fleet.boards[1]
    pulled.cable(up=False)
    begin = time.monotonic()
    silent = next_event(process, "silent")
    assert (silent["address"], silent["numbers"]) == (pulled.address, [1, 1, 2])
    assert time.monotonic() - begin < SILENT_WITHIN

    pulled.cable(up=True)
    assert next_event(process, "back")["address"] == pulled.address
    process.terminate()
    assert process.wait(10) == 0
