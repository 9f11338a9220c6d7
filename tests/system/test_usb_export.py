"""What a stick takes along: logs, raw data, a backup, and the packages that came over the network."""

import re
import tarfile

import pytest

from quendal_tools.board import stick_console
from quendal_tools.board.layout import APPLICATION, LOG, WORK
from quendal_tools.board.stick_console import EDGE, EMPTY, HUB, LAYOUT
from support import stick
from support.stick import RESTART, start_with_stick

TOLERANCE = 0.05
NOT_EMPTY = (EDGE + "\n######       The Plug-in USB Drive NOT empty.        ######"
             "\n######             There is No action!               ######")
RETRIEVING = (EDGE + "\n######           KVSOURCE found on usb drive!        ######"
              "\n######    USB Device is retrieving Zipped Source     ######")
ARCHIVE_LOG = "\n######       Copying LogZipTmp.dat file......        ######"
RESTARTING = EDGE + stick_console.RESTARTING
END = stick_console.searching("sda1") + stick_console.NOT_FOUND
STAMP = r"\d\d:\d\d:\d\d\t\d\d/\d\d/\d{4} - "


def write_logs(board):
    board.write("/tmp/Tivrane_LogSession.log", "session")
    board.write("/var/log/messages", "messages")
    board.write(f"{LOG}/other.log", "kept")
    board.write(f"{APPLICATION}/Target/x.zip", "x")


def write_packages(board):
    write_logs(board)
    board.write(f"{WORK}/Package_Hub.zip", "hub")
    board.write(f"{WORK}/Package_Lyt.zip", "layout")


def content_of(archive, member):
    file = archive.extractfile(member)
    assert file, member
    return file.read()


def shell_errors(board):
    """What the board's shell and its programs say about the commands, where they say anything."""
    keep = "sudo if [ -f x ]; then cp x y; fi"
    thermal = "cat /sys/class/thermal/thermal_zone0/temp"
    return board.run(["sh", "-c", thermal]).stderr + 2 * board.run(["sh", "-c", keep]).stderr


@pytest.mark.long(20)
def test_logs_are_packed_onto_the_stick_which_is_released_whatever_else_it_holds(make_rig):
    def prepare(drive):
        drive.make_folder("KVLOG", "KVBAK", "KVSOURCE")
        drive.write_folder("1.2.3", "#0#x.zip", {"x.zip": b"x"})

    rig, drive = start_with_stick(make_rig, prepare, before_start=write_logs)
    rig.await_open(timeout=60)

    weekday = rig.board.run(["date", "+%w"]).stdout.strip()
    commands = stick.commands_of(rig)
    assert commands[:4] == stick.mount_commands()
    assert commands[4].startswith("sudo echo thermal@")
    assert commands[5:] == [
        f"sudo cp /tmp/Tivrane_LogSession.log /data/app/Log/zeloApp-{weekday}.log",
        "sudo cat /var/log/messages",
        "sudo cp /data/app/kavenor/LogReset.dat /data/app/Log/LogReset.dat.bak",
        "sudo tar zcf zelo-curLogs.tar.gz Log",
        "sudo mv /data/app/zelo-curLogs.tar.gz /data/home/sda1/KVLOG/",
        "sudo sync",
        "sudo umount /data/home/sda1",
        "sudo sync", RESTART, RESTART]
    assert stick.times_of(rig, commands[5])[0] - stick.times_of(rig, commands[4])[0] >= 1.5 - TOLERANCE

    archive = drive.path("KVLOG/zelo-curLogs.tar.gz")
    with tarfile.open(archive) as packed:
        logs = {name: content_of(packed, f"Log/{name}")
                for name in (f"zeloApp-{weekday}.log", f"zeloKernMsg-{weekday}.log", "other.log")}
    assert list(logs.values()) == [b"session", b"messages", b"kept"]
    assert [entry.name for entry in drive.path("KVLOG").iterdir()] == [archive.name]
    assert list(drive.path("KVBAK").iterdir()) == []
    assert stick.in_target(rig) == ["x.zip"]
    assert rig.board.path(f"{APPLICATION}/LogReset.dat").read_text().startswith("thermal@")
    assert stick.attached() + shell_errors(rig.board) + EMPTY + RETRIEVING + RESTARTING + END in rig.text_since(0)


@pytest.mark.long(20)
def test_packages_are_read_back_into_the_bare_mount_point_with_their_lines_in_the_archive_log(make_rig):
    rig, drive = start_with_stick(make_rig, lambda drive: drive.make_folder("KVLOG"), before_start=write_packages)

    rig.await_open(timeout=60)

    bare = rig.board.path("/data/home/sda1")
    log = (bare / "KVSOURCE/LogZipTmp.dat").read_bytes().decode()
    assert re.fullmatch(f"{STAMP}Package_Hub.zip read back thru LAN.\r\n"
                        f"{STAMP}Package_Lyt.zip  read back thru LAN.\r\n", log)
    assert rig.board.path(f"{APPLICATION}/LogZipTmp.dat").read_bytes().decode() == log
    assert (bare / "KVSOURCE/Package_Hub.zip").read_text() == "hub"
    assert (bare / "KVSOURCE/Package_Lyt.zip").read_text() == "layout"
    assert not drive.path("KVSOURCE").exists()
    assert stick.commands_of(rig)[-6:] == [
        "sudo cp ../Work/Package_Hub.zip /data/home/sda1/KVSOURCE/",
        "sudo cp ../Work/Package_Lyt.zip /data/home/sda1/KVSOURCE/",
        "sudo cp ../LogZipTmp.dat /data/home/sda1/KVSOURCE/", "sudo sync", RESTART, RESTART]
    assert EMPTY + RETRIEVING + HUB + LAYOUT + ARCHIVE_LOG + RESTARTING + END in rig.text_since(0)


@pytest.mark.long(20)
def test_bare_mount_point_that_holds_a_file_gets_no_packages(make_rig):
    def before_start(board):
        write_packages(board)
        board.write("/data/home/sda1/note.txt", "x")

    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVLOG"), before_start=before_start)

    rig.await_open(timeout=60)

    assert NOT_EMPTY + END in rig.text_since(0)
    assert stick.commands_of(rig)[-2:] == ["sudo umount /data/home/sda1", RESTART]
    assert not rig.board.path("/data/home/sda1/KVSOURCE").exists()


@pytest.mark.long(20)
def test_missing_log_folder_is_created(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVLOG"),
                              before_start=lambda board: board.path(LOG).rmdir())

    rig.await_open(timeout=60)

    assert stick.attached() + "\nLog dir does not exist;creating...done!" in rig.text_since(0)
    assert rig.board.path(LOG).is_dir()


@pytest.mark.long(20)
def test_raw_data_is_copied_instead_of_the_logs_and_the_stick_stays_mounted(make_rig):
    def before_start(board):
        board.write(f"{WORK}/Marlox.ini", "LOGDATA = 1\n")
        board.write("/data/app/log/RawData1.bin", "raw")
        board.write("/data/app/log/other.bin", "x")

    def prepare(drive):
        drive.make_folder("KVLOG", "KVBAK")

    rig, drive = start_with_stick(make_rig, prepare, before_start=before_start)
    rig.await_open(timeout=60)

    assert stick.commands_of(rig) == [
        *stick.mount_commands(), "sudo cp /data/app/log/RawData1.bin /data/home/sda1/KVLOG",
        "sudo cp -a /data/app /data/home/sda1/KVBAK/", RESTART]
    assert [entry.name for entry in drive.path("KVLOG").iterdir()] == ["RawData1.bin"]
    assert drive.path("KVBAK/app/kavenor/Work/Marlox.ini").read_text() == "LOGDATA = 1\n"
    assert stick.attached() + END in rig.text_since(0)


@pytest.mark.long(20)
def test_backup_with_a_configuration_does_not_restart(make_rig):
    rig, drive = start_with_stick(make_rig, lambda drive: drive.make_folder("KVBAK", "KVCFG/2.0.0"))

    rig.await_open(timeout=60)

    assert stick.commands_of(rig) == [*stick.mount_commands(), "sudo cp -a /data/app /data/home/sda1/KVBAK/"]
    assert drive.path("KVBAK/app/kavenor/Work/KvId.ini").exists()


@pytest.mark.long(20)
def test_stick_without_a_log_folder_gets_no_packages(make_rig):
    rig, drive = start_with_stick(make_rig, lambda drive: drive.make_folder("KVSOURCE"), before_start=write_packages)

    rig.await_open(timeout=60)

    assert stick.commands_of(rig) == stick.mount_commands()
    assert list(drive.path("KVSOURCE").iterdir()) == []
