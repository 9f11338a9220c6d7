"""The sandboxed board itself: what of the host it hides, and the commands that stand in for others."""

import os

from quendal_tools.sandbox.board_files import PARTITIONS_HEAD
from quendal_tools.sandbox.board_root import BLOCK_DEVICES, PARTITIONS

LISTS = ["sh", "-c", "ls -A /sys/class/block; cat /proc/partitions"]


def test_board_shows_none_of_the_hosts_drives(make_board):
    assert make_board().run(LISTS, check=True).stdout == PARTITIONS_HEAD


def test_pcs_side_shows_the_hosts_drives(make_board):
    shown = make_board().pc.run(["ls", "-A", "/sys/class/block"], check=True).stdout.split()

    assert sorted(shown) == sorted(os.listdir("/sys/class/block"))


def test_drive_written_from_outside_is_listed_and_the_board_cannot_change_the_lists(make_board):
    board = make_board()
    board.path(f"{BLOCK_DEVICES}/sda").mkdir()
    board.write(PARTITIONS, PARTITIONS_HEAD + "   8        0       1024 sda\n")

    assert board.run(LISTS).stdout == "sda\n" + PARTITIONS_HEAD + "   8        0       1024 sda\n"
    for attempt in ("mkdir /sys/class/block/sdb", "rmdir /sys/class/block/sda", ": >/proc/partitions"):
        refused = board.run(["sh", "-c", attempt])
        assert refused.returncode != 0 and "Read-only file system" in refused.stderr


def test_replaced_command_that_was_a_link_to_the_recording_sudo_leaves_that_alone(make_board):
    board = make_board()

    board.replace_command("sync", "#!/bin/sh\necho ours\n")

    assert board.run(["sync"], check=True).stdout == "ours\n"
    assert board.run(["sudo", "echo", "carried out"], check=True).stdout == "carried out\n"
    assert board.run(["reboot"], check=True).stdout == ""
    assert [text for _, text in board.commands()] == ["sudo echo carried out", "reboot"]
