"""A stick comes and goes: named, mounted once, released when it was pulled."""

import pytest

from quendal_tools.board import stick_console
from support import stick
from support.stick import NEXT_CYCLE_SECONDS, SERVED_SECONDS, start_with_stick

TOLERANCE = 0.05
UNRELEASED = "\nunmounting failures...CFG usb thumbdrive still plugged,pls remove..."
ONLY_SEARCHED = stick_console.searching("sda1") + stick_console.NOT_FOUND


@pytest.mark.long(60)
def test_stick_is_served_once_released_when_pulled_and_served_again(make_rig):
    rig, drive = start_with_stick(make_rig)
    first = rig.service.wait_for(stick_console.NOT_FOUND, SERVED_SECONDS)
    assert stick.attached() + ONLY_SEARCHED in rig.text_since(0)
    assert stick.commands_of(rig) == stick.mount_commands()

    # Two cycles later nothing more has happened to it.
    rig.await_open(timeout=NEXT_CYCLE_SECONDS)
    cycle = rig.board.commands()[-1][0]
    rig.board.cable(False)
    rig.display.wait_for("NETW_DN", timeout=NEXT_CYCLE_SECONDS)
    assert rig.board.commands()[-1][0] >= cycle
    assert stick.commands_of(rig) == stick.mount_commands()

    drive.pull()
    rig.service.wait_for(stick_console.releasing("sda1"), NEXT_CYCLE_SECONDS, after=first)
    rig.display.wait_for("NETW_DN", count=3, timeout=NEXT_CYCLE_SECONDS)
    released = [*stick.mount_commands(), "sudo umount /data/home/sda1"]
    assert stick.commands_of(rig) == released
    assert rig.text_since(0).count(stick_console.releasing("")) == 1

    second = rig.service.mark()
    drive.plug("sda", "sda1")
    rig.service.wait_for(stick_console.NOT_FOUND, SERVED_SECONDS, after=second)
    assert stick.attached() + ONLY_SEARCHED in rig.text_since(second)
    assert stick.commands_of(rig) == [*released, *stick.mount_commands()]


@pytest.mark.long(15)
def test_mount_waits_eight_seconds_for_the_kernel_and_three_for_the_mount(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVBAK"))
    started = rig.board.path("/opt/board/block-devices/sda1").stat().st_mtime

    rig.service.wait_for(stick_console.NOT_FOUND, SERVED_SECONDS)

    released = stick.times_of(rig, "sudo umount /data/home/sda1")[0]
    mounted = stick.times_of(rig, stick.mount_commands()[-1])[0]
    saved = stick.times_of(rig, "sudo cp -a /data/app /data/home/sda1/KVBAK/")[0]
    assert released - started >= 3 + 8 - TOLERANCE
    assert saved - mounted >= 3 - TOLERANCE


@pytest.mark.long(15)
def test_drive_without_a_partition_is_mounted_itself_and_released_once_before(make_rig):
    rig, _ = start_with_stick(make_rig, names=["sda"])

    rig.service.wait_for(stick_console.NOT_FOUND, SERVED_SECONDS)

    assert stick.echoed("sda") + stick_console.found("sda") + stick_console.mounting("sda") in rig.text_since(0)
    assert stick.commands_of(rig) == stick.mount_commands("sda")[1:]


@pytest.mark.long(10)
@pytest.mark.parametrize("names", [[], ["sda1;touch \N{EURO SIGN}"], ["sd$(reboot)1"]])
def test_memory_card_and_names_that_could_carry_a_command_are_no_stick(make_rig, names):
    rig, _ = start_with_stick(make_rig, names=names)

    rig.await_open()

    assert stick.commands_of(rig) == []
    assert "USB" not in rig.text_since(0)


@pytest.mark.long(15)
def test_mount_that_fails_is_not_noticed_but_for_the_missing_folders(make_rig):
    def prepare(drive):
        drive.make_folder("KVBAK")
        drive.refuse_mounts()

    rig, _ = start_with_stick(make_rig, prepare)

    rig.service.wait_for(stick_console.NOT_FOUND, SERVED_SECONDS)

    assert stick.attached() + ONLY_SEARCHED in rig.text_since(0)
    assert stick.commands_of(rig) == stick.mount_commands()


@pytest.mark.long(60)
def test_stick_that_cannot_be_released_is_left_until_it_was_pulled(make_rig):
    rig, drive = start_with_stick(make_rig, lambda drive: drive.make_folder("KVCFG"))
    served = rig.service.wait_for("\nno match valid folder in KVCFG folder!", SERVED_SECONDS)
    drive.pull()
    drive.refuse_releases()
    rig.service.wait_for(stick_console.releasing("sda1"), NEXT_CYCLE_SECONDS, after=served)
    drive.plug("sda", "sda1")

    left = rig.service.wait_for(UNRELEASED, SERVED_SECONDS, after=served)
    refused = stick.commands_of(rig)
    assert refused == [*stick.mount_commands(), *3 * ["sudo umount /data/home/sda1"]]
    assert stick.echoed("sda", "sda1") + 2 * stick_console.found("sda1") + UNRELEASED in rig.text_since(served)

    # It is not tried again although it could be released by now.
    drive.allow_releases()
    rig.board.cable(False)
    rig.display.wait_for("NETW_DN", timeout=NEXT_CYCLE_SECONDS)
    assert stick.commands_of(rig) == refused

    drive.pull()
    pulled = rig.service.wait_for(stick_console.releasing("sda1"), NEXT_CYCLE_SECONDS, after=left)
    drive.plug("sda", "sda1")
    rig.service.wait_for(stick_console.searching("sda1"), SERVED_SECONDS, after=pulled)
