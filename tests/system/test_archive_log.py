"""The log of archives: ../LogZipTmp.dat, one line for each name that holds ".zip"."""

import datetime
import re

import pytest

from quendal_tools.board.layout import APPLICATION, TARGET
from quendal_tools.protocol import packet

LOG = APPLICATION + "/LogZipTmp.dat"
LINE = re.compile(rb"(\d\d:\d\d:\d\d\t\d\d/\d\d/\d{4}) - ([^\r\n]*) Received thru LAN\.\)\r\n")


def parsed(log):
    """[(UTC time, name)] of a log that consists of right lines and nothing else."""
    lines = list(LINE.finditer(log))
    assert b"".join(line.group() for line in lines) == log
    return [(datetime.datetime.strptime(line[1].decode(), "%H:%M:%S\t%d/%m/%Y").replace(tzinfo=datetime.timezone.utc),
             line[2]) for line in lines]


def test_every_archive_gets_its_line_in_utc_in_order(rig):
    rig.board.write(LOG, "12:00:00\t01/02/2024 - earlier.zip Received thru LAN.)\r\n")
    names = ["Package_Hub.zip", "a.zip.part", "FileList.sys.zip", ".zip"]
    before = datetime.datetime.now(datetime.timezone.utc).replace(microsecond=0)

    rig.send(*(packet.file_packet(name, b"PK") for name in (names[0], "not_logged.ZIP", *names[1:], "zip")))

    after = datetime.datetime.now(datetime.timezone.utc)
    lines = parsed(rig.board.path(LOG).read_bytes())
    assert [name.decode() for _, name in lines] == ["earlier.zip", *names]
    assert all(before <= moment <= after for moment, _ in lines[1:])


def test_line_is_in_utc_whatever_the_time_zone(make_rig):
    rig = make_rig(env=lambda display_env: {**display_env, "TZ": "Asia/Kathmandu"})
    rig.await_open()

    rig.send(packet.file_packet("a.zip", b""))

    moment, _ = parsed(rig.board.path(LOG).read_bytes())[0]
    assert abs(datetime.datetime.now(datetime.timezone.utc) - moment) < datetime.timedelta(minutes=5)


def test_archive_cut_short_or_refused_is_logged_all_the_same(rig):
    rig.send(packet.file_head("cut.zip", 10))
    rig.send(packet.file_packet("../refused.zip", b""))

    assert [name for _, name in parsed(rig.board.path(LOG).read_bytes())] == [b"cut.zip", b"../refused.zip"]


def make_directory(board):
    board.path(LOG).mkdir()


def make_full(board):
    board.path(LOG).symlink_to("/dev/full")


@pytest.mark.parametrize("spoil", [make_directory, make_full])
def test_log_that_cannot_be_written_costs_its_line_and_nothing_else(make_rig, spoil):
    rig = make_rig(before_start=spoil)
    rig.await_open()
    mark = rig.service.mark()

    rig.send(packet.file_packet("a.zip", b"PK"))

    assert rig.stored("a.zip") == b"PK"
    assert "Exception" not in rig.text_since(mark)
    spoiled = rig.board.path(LOG)
    spoiled.rmdir() if spoiled.is_dir() else spoiled.unlink()
    rig.send(packet.file_packet("b.zip", b"PK"))
    assert [name for _, name in parsed(spoiled.read_bytes())] == [b"b.zip"]


def test_log_is_not_written_for_a_transfer_without_archives(rig):
    rig.send(packet.file_packet("FileList.sys", b""), packet.file_packet("a.ts", b"G"))

    assert not rig.board.path(LOG).exists()
    assert rig.board.path(f"{TARGET}/a.ts").exists()
