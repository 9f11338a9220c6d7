"""Alive requests with a file while the temporary directory takes none, or not all of it."""

import time

import pytest

from quendal_tools.board import console
from support import multicast
from support.multicast import Transmitter

OPEN_FAILED = "\nfile open failed when saving Rx file element"
NOT_FOUND = console.ALIVE_FILE_NOT_TAKEN + "File not found"


def small_disk(board):
    board.run(["mount", "-t", "tmpfs", "-o", "size=64k,nr_inodes=64", "tmpfs", "/tmp"], check=True)


def fill(rig):
    rig.board.run(["sh", "-c", "cat /dev/zero >/tmp/filler 2>/dev/null || true"])


def use_up_names(rig):
    rig.board.run(["sh", "-c", "for n in $(seq 100); do : >/tmp/name$n || break; done 2>/dev/null; true"])


@pytest.mark.long(40)
@pytest.mark.parametrize("exhaust, report", [(fill, NOT_FOUND), (use_up_names, OPEN_FAILED + NOT_FOUND)])
def test_only_a_failed_open_is_called_one_and_a_later_request_is_served(make_rig, exhaust, report):
    rig = make_rig(ini={"mcRstHrFactor": 0}, before_start=small_disk)
    multicast.await_resumed_and_due(rig)
    exhaust(rig)
    mark = rig.service.mark()
    with Transmitter(rig.board.pc) as transmitter:
        transmitter.ask()
        rig.service.wait_for(NOT_FOUND, after=mark)
        time.sleep(3)

        # The last request is handled again and again.
        text = rig.service.stderr_text()[mark:]
        assert text.replace(report, "") == "" and text.count(report) >= 2
        assert not transmitter.has_connection()
        rig.board.run(["sh", "-c", "rm -f /tmp/filler /tmp/name*"], check=True)
        multicast.assert_replies(rig, transmitter)
