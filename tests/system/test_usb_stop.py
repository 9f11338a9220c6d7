"""A stick in the middle of its duties: a stop request is heard, and the rest of the service goes on."""

import time

import pytest

from quendal_tools.board import console, stick_console
from quendal_tools.board.waiting import wait_until
from support import stick
from support.stick import SERVED_SECONDS, Stick, start_with_stick

# Shorter than what is left of the wait that is cut short.
AT_ONCE = 2.5
CYCLE_SECONDS = 3
SLOW_SECONDS = 6
SLOW = """#!/bin/sh
touch /run/{name}
sleep {seconds}
exec /usr/bin/{name} "$@"
"""


def start_open(make_rig):
    """A service with its port open, and a stick that can be plugged."""
    drives = []
    rig = make_rig(before_start=lambda board: drives.append(Stick(board)))
    rig.await_open()
    return rig, drives[0]


def stop(rig):
    rig.service.terminate()
    return rig.service.wait(AT_ONCE)


def await_command(rig, text):
    wait_until(lambda: any(command.startswith(text) for command in stick.commands_of(rig)), SERVED_SECONDS, text)


def write_announced_list(drive):
    drive.write_folder("1.2.3", "#0#FileList.sys", {"FileList.sys": b""})


@pytest.mark.long(15)
@pytest.mark.parametrize("into_the_cycle", [1, 6])
def test_stop_while_the_kernel_registers_the_stick_leaves_it_alone(make_rig, into_the_cycle):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVBAK"))
    rig.service.wait_for(console.LINKED)
    time.sleep(CYCLE_SECONDS + into_the_cycle)  # nothing is to be seen of these two waits

    assert stop(rig) == 0
    assert stick.commands_of(rig) == []


@pytest.mark.long(15)
def test_stop_while_the_stick_is_mounted_ends_its_duties(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVBAK"))
    await_command(rig, "sudo mount")

    assert stop(rig) == 0
    assert stick.commands_of(rig) == stick.mount_commands()


@pytest.mark.long(20)
def test_stop_in_the_pause_of_the_log_export_ends_the_duties(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVLOG"))
    await_command(rig, "sudo echo thermal@")

    assert stop(rig) == 0
    assert len(stick.commands_of(rig)) == len(stick.mount_commands()) + 1


@pytest.mark.long(20)
def test_stop_after_the_announcement_still_brings_the_files(make_rig):
    rig, _ = start_with_stick(make_rig, write_announced_list)
    rig.display.wait_for("START2RX", timeout=SERVED_SECONDS)

    assert stop(rig) == 0
    assert stick.in_target(rig) == ["FileList.sys", "kvXferStop.sys"]
    rig.display.wait_for("RXCOMPLETE")


@pytest.mark.long(25)
def test_stop_after_the_last_file_completes_the_transfer(make_rig):
    rig, _ = start_with_stick(make_rig, write_announced_list)
    rig.service.wait_for(stick_console.FINISHED, SERVED_SECONDS)

    assert stop(rig) == 0
    rig.display.wait_for("RXCOMPLETE")


@pytest.mark.long(40)
@pytest.mark.parametrize("name, folder", [("tar", "KVLOG"), ("cp", "KVBAK")])
def test_transfer_arrives_while_an_export_takes_its_time(make_rig, name, folder):
    rig, drive = start_open(make_rig)
    rig.board.replace_command(name, SLOW.format(name=name, seconds=SLOW_SECONDS))
    drive.make_folder(folder)
    drive.plug("sda", "sda1")
    begun = rig.board.path(f"/run/{name}")
    wait_until(begun.exists, SERVED_SECONDS, f"the slow {name}")

    rig.assert_good_transfer()

    assert stick_console.NOT_FOUND not in rig.text_since(0)
    rig.service.wait_for(stick_console.NOT_FOUND, SERVED_SECONDS)
    assert time.time() - begun.stat().st_mtime > SLOW_SECONDS


@pytest.mark.long(40)
def test_transfer_arrives_while_a_distribution_waits(make_rig):
    rig, drive = start_open(make_rig)
    write_announced_list(drive)
    drive.plug("sda", "sda1")
    rig.display.wait_for("START2RX", timeout=SERVED_SECONDS)

    rig.assert_good_transfer()

    assert "-----Starting to copy" not in rig.text_since(0)
    rig.display.wait_for("RXCOMPLETE", timeout=SERVED_SECONDS)
