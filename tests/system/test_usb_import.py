"""The configuration folders of a stick: the best one is chosen and its files distributed."""

import re

import pytest

from quendal_tools.board import console, stick_console
from quendal_tools.board.layout import TARGET
from quendal_tools.board.stick_console import FINISHED, FORMAT_ERROR
from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.protocol.control_files import STOP_MARKER
from support import stick
from support.rig import NOTICED_LATE
from support.stick import SERVED_SECONDS, start_with_stick

TOLERANCE = 0.05
TIME = "<time>"


def compared(name, *, equal, weight=None):
    """What is written about a folder: its comparison with the display 1.2.3, and its weight where it fits and wins."""
    group, column, unit = name.split(".")
    text = (f"\nsub path name:{name}\ntoken Number:3\ngId-cId-uId: {group}:{column}:{unit}"
            f"\nmy GroupId-ColumnId-UnitId: 1:2:3\n{''.join('*' + flag for flag in equal)}\n")
    if weight is not None:
        text += f"\nMatched gId:{group}cId:{column}uId:{unit}\nweight:{weight}  File:{name}"
    return text


def chosen(name):
    return f"\n CFGroot:/data/home/sda1/KVCFG/{name}/"


def copying(*names):
    text = f"\n-----Starting to copy {len(names)} files.-----"
    for number, name in enumerate(names, 1):
        text += f"\n{TIME} Copying [{number} of {len(names)}]: {name}..."
    return text


def holds(text, expected):
    """Is the expected text there whole, with a time of day wherever TIME stands?"""
    pattern = re.escape(expected).replace(re.escape(TIME), r"\d{1,2}:\d{1,2}:\d{1,2}\.\d{1,3}")
    return re.search(pattern, text) is not None


def served(folder="1.2.3", equal="111", weight=111):
    """All that is written up to the choice of the only folder."""
    return (stick.attached() + stick_console.searching("sda1") + "\nKVCFG found on usb drive!" +
            compared(folder, equal=equal, weight=weight) + chosen(folder))


@pytest.mark.long(35)
def test_listed_files_are_announced_copied_synced_marked_and_completed(make_rig):
    names = ["Layout1.zip", "FileList.sys", "clip.ts"]
    contents = {name: bytes([number]) * 300_000 * number for number, name in enumerate(names)}
    file_list = "a#0#Layout1.zip;b#0#FileList.sys;c#0#clip.ts"
    rig, _ = start_with_stick(
        make_rig, lambda drive: drive.write_folder("1.2.3", f";;{file_list};", {**contents, "unlisted": b"x"}))
    rig.board.write(f"{TARGET}/Layout1.zip", "older and replaced")

    completed = rig.display.wait_for("RXCOMPLETE", timeout=60)

    assert holds(rig.text_since(0), served() + stick_console.listed(file_list) + copying(*names) + FINISHED)
    assert {name: rig.stored(name) for name in names} == contents
    assert rig.stored(STOP_MARKER) == b""
    assert stick.in_target(rig) == sorted([*names, STOP_MARKER])
    assert stick.commands_of(rig) == [*stick.mount_commands(), *4 * ["sudo sync"]]
    started, synced = rig.display.wait_for("START2RX"), stick.times_of(rig, "sudo sync")
    assert synced[0] - started >= 6 - NOTICED_LATE
    assert completed - synced[-1] >= 6 - TOLERANCE
    rig.await_open()
    stick.assert_woken(rig, "START2RX", "RXCOMPLETE")


@pytest.mark.long(30)
def test_list_for_a_display_that_need_not_care_waits_one_second(make_rig):
    rig, _ = start_with_stick(
        make_rig, lambda drive: drive.write_folder("0.0.0", "a#0#FLDnCare.sys", {"FLDnCare.sys": b""}))

    rig.display.wait_for("RXCOMPLETE", timeout=60)

    announced, synced = rig.display.wait_for("START2RXDUNCARE"), stick.times_of(rig, "sudo sync")
    assert 1 - NOTICED_LATE <= synced[0] - announced < 5
    rig.await_open()
    stick.assert_woken(rig, "START2RXDUNCARE", "RXCOMPLETE")


@pytest.mark.long(25)
def test_list_without_a_control_file_is_marked_and_completed_all_the_same(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.write_folder("1.0.0", "#0#x.zip", {"x.zip": b"x"}))

    rig.display.wait_for("RXCOMPLETE", timeout=60)

    assert stick.in_target(rig) == [STOP_MARKER, "x.zip"]
    rig.await_open()
    stick.assert_woken(rig, "RXCOMPLETE")


@pytest.mark.long(25)
def test_best_folder_is_chosen(make_rig):
    def prepare(drive):
        for folder in ("1.0.3", "65537.2.0", "1.2", "1.2.3.4", "2.2.3"):
            drive.write_folder(folder, "#0#folder", {"folder": folder})

    rig, _ = start_with_stick(make_rig, prepare)

    rig.service.wait_for(FINISHED, SERVED_SECONDS)

    assert chosen("65537.2.0") in rig.text_since(0)
    assert rig.stored("folder") == b"65537.2.0"


@pytest.mark.long(25)
def test_of_two_folders_of_equal_weight_the_one_that_is_listed_first_is_chosen(make_rig):
    folders = ["1.a.3", "1.0.3", "1.b.3", "1..3", "01.0.3", "1.00.03"]

    def prepare(drive):
        for folder in folders:
            drive.write_folder(folder, "#0#folder", {"folder": folder})

    rig, _ = start_with_stick(make_rig, prepare)
    rig.service.wait_for(FINISHED, SERVED_SECONDS)

    order = rig.board.run(["ls", "-U", "/data/home/sda1/KVCFG"], check=True).stdout.split()
    assert rig.stored("folder") == order[0].encode()
    assert re.findall("\nsub path name:(.*)", rig.text_since(0)) == order


@pytest.mark.long(20)
def test_stick_without_a_fitting_folder_is_only_reported(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.write_folder("2.2.3", "#0#x", {"x": b"x"}))

    rig.await_open(timeout=60)

    assert (stick.attached() + stick_console.searching("sda1") + "\nKVCFG found on usb drive!" +
            compared("2.2.3", equal="011") + "\nno match valid folder in KVCFG folder!") in rig.text_since(0)
    assert stick.in_target(rig) == []
    rig.assert_woken("NETW_UP")


@pytest.mark.long(20)
def test_folder_without_a_list_file_ends_silently(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.make_folder("KVCFG/1.2.3"))

    rig.await_open(timeout=60)

    assert rig.text_since(0).split(served())[1].startswith(console.DHCP_OK)
    rig.assert_woken("NETW_UP")


@pytest.mark.long(20)
@pytest.mark.parametrize("file_list", ["a#0#FileList.sys;b#1#x.zip", "a#0#FileList.sys;b#0#outside/passwd"])
def test_bad_entry_cancels_the_whole_list(make_rig, file_list):
    def prepare(drive):
        drive.write_folder("1.2.3", file_list, {"FileList.sys": b"", "x.zip": b"x"})
        drive.path("KVCFG/1.2.3/outside").symlink_to("/etc")

    rig, _ = start_with_stick(make_rig, prepare)
    rig.await_open(timeout=60)

    assert served() + stick_console.listed(file_list) + FORMAT_ERROR + console.DHCP_OK in rig.text_since(0)
    assert stick.in_target(rig) == []
    rig.assert_woken("NETW_UP")


@pytest.mark.long(25)
def test_absent_file_ends_the_duties_and_the_link_is_judged_in_the_same_cycle(make_rig):
    rig, _ = start_with_stick(
        make_rig, lambda drive: drive.write_folder("1.2.3", "a#0#x.zip;b#0#absent.zip", {"x.zip": b"x"}))

    rig.await_open(timeout=60)

    path = "/data/home/sda1/KVCFG/1.2.3/absent.zip"
    assert holds(rig.text_since(0), served() + stick_console.listed("a#0#x.zip;b#0#absent.zip") +
                 copying("x.zip", "absent.zip") +
                 console.exception("MainTask:", f"File not found: {path}: No such file or directory") + console.DHCP_OK)
    assert stick.in_target(rig) == ["x.zip"]
    rig.assert_woken("NETW_UP")


@pytest.mark.long(25)
def test_list_without_its_key_ends_the_duties(make_rig):
    rig, _ = start_with_stick(make_rig, lambda drive: drive.write(f"KVCFG/1.2.3/{LIST_NAME}", "[other]\nx = y\n"))

    rig.await_open(timeout=60)

    assert served() + console.exception("MainTask:", "Not found: new_local_dist_task.fileList") in rig.text_since(0)
    rig.assert_woken("NETW_UP")


@pytest.mark.long(25)
def test_full_target_ends_the_duties_and_keeps_no_piece(make_rig):
    rig, _ = start_with_stick(
        make_rig,
        lambda drive: drive.write_folder("1.2.3", "#0#small;#0#big", {"small": b"x", "big": bytes(5_000_000)}),
        before_start=lambda board: board.run(
            ["mount", "-t", "tmpfs", "-o", "size=1m", "tmpfs", TARGET], check=True))

    rig.await_open(timeout=60)

    assert holds(rig.text_since(0), copying("small", "big") + console.exception(
        "MainTask:", f"Cannot write file: {TARGET}/big: No space left on device"))
    assert rig.board.run(["ls", TARGET]).stdout == "small\n"
    rig.assert_woken("NETW_UP")


@pytest.mark.long(25)
def test_directory_in_the_place_of_a_file_is_a_failure_and_nothing_is_copied_into_it(make_rig):
    rig, _ = start_with_stick(
        make_rig, lambda drive: drive.write_folder("1.2.3", "#0#x.zip", {"x.zip": b"x"}),
        before_start=lambda board: board.path(f"{TARGET}/x.zip").mkdir())

    rig.await_open(timeout=60)

    assert holds(rig.text_since(0), copying("x.zip") + console.exception(
        "MainTask:", "Invalid access: a file name must not stand for a directory: x.zip"))
    assert list(rig.board.path(f"{TARGET}/x.zip").iterdir()) == []
    rig.assert_woken("NETW_UP")
