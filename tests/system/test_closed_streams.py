"""Standard streams that are closed at the start: no file or socket of the service's gets their numbers."""

import itertools
import re

import pytest

from quendal_tools.board.waiting import wait_until
from support.error_stream import Heard, empty_pipe

NUMBERS = ("0", "1", "2")
COMBINATIONS = [closed for count in (1, 2, 3) for closed in itertools.combinations(NUMBERS, count)]

# Writes down the open files of a command that the service runs.
WITNESS = """#!/bin/sh
files=$(ls -l /proc/$$/fd)
echo "$files" >/tmp/witness.new
mv /tmp/witness.new /tmp/witness
"""


def witnessed(board):
    """The command's standard streams."""
    text = wait_until(lambda: board.path("/tmp/witness").exists() and board.path("/tmp/witness").read_text(), 30,
                      "the witness")
    return {number: file for number, file in re.findall(r" (\d+) -> (.*)", text) if number in NUMBERS}


@pytest.mark.parametrize("closed", COMBINATIONS, ids="+".join)
def test_closed_streams_are_opened_on_nothing(make_board, quendal, closed):
    board = make_board()
    board.replace_command("dhcpcd", WITNESS)
    stream = empty_pipe()
    redirections = " ".join(f"{number}<&-" for number in closed)
    service = Heard(board, quendal, stream, wrapper=["sh", "-c", f'exec "$0" {redirections}'])

    service.assert_receives("file.bin", bytes(300_000))

    streams = {str(number): file for number, file in service.descriptors() if number <= 2}
    assert set(streams) == set(NUMBERS)
    assert {streams[number] for number in closed} == {"/dev/null"}
    assert not any(file.startswith(("socket:", "anon_inode:")) for file in streams.values())
    command = witnessed(board)
    assert set(command) == set(NUMBERS)
    assert {command[number] for number in closed} == {"/dev/null"}
    assert not any("socket" in file or "anon_inode" in file for file in command.values())
    service.assert_stops()
    stream.close()
