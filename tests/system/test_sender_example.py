"""The documented example of a sender does what it is an example of."""

import pathlib

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET

EXAMPLE = pathlib.Path(__file__).resolve().parents[2] / "docs/examples/sender.py"


@pytest.fixture(name="send")
def _send(rig, tmp_path):
    def send(*names):
        for name in names:
            (tmp_path / name).write_bytes(name.encode() * 1000)
        return rig.board.pc.run([EXAMPLE, rig.board.address, *(tmp_path / name for name in names)])

    return send


def test_it_is_as_short_as_it_is_said_to_be():
    code = [line for line in EXAMPLE.read_text().splitlines() if line.strip()]

    assert len(code) <= 40


def test_a_transfer_arrives_and_is_confirmed(rig, send):
    done = send("a.bin", "b.bin")

    assert (done.returncode, done.stderr) == (0, "")
    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
    assert rig.stored("b.bin") == b"b.bin" * 1000
    assert rig.stored("FileList.sys") == b"a.bin\r\nb.bin\r\n"


def test_in_the_gap_after_another_connection_it_tries_again(rig, send):
    with rig.connect():
        pass
    done = send("a.bin")

    assert done.returncode == 0
    assert rig.stored("a.bin") == b"a.bin" * 1000
    assert console.connected("")[:15] in rig.service.stderr_text()


@pytest.mark.long(30)
def test_a_display_that_cannot_store_gives_no_confirmation(rig, send):
    rig.board.run(["mount", "-t", "tmpfs", "-o", "size=4k", "tmpfs", TARGET], check=True)
    done = send("a.bin", "b.bin")

    assert done.returncode == 1
    assert done.stderr.count("Connection reset by peer") == 3
    assert done.stderr.endswith(" has not confirmed that it has stored everything\n")
