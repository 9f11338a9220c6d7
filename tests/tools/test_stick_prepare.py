"""Sticks prepared, as a folder and as an image."""

import subprocess
import sys

import pytest

from python_tree import TRANSMITTER
from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.configuration.identity import Numbers
from quendal_tools.stick import media, prepare
from quendal_tools.stick.forecast import foresee
from quendal_tools.stick.media import StickError
from quendal_tools.stick.prepare import Configuration

OWN = Numbers(1, 2, 3)


def test_a_prepared_stick_is_served_as_intended(stick, files):
    configurations = [Configuration(OWN, files), Configuration(Numbers(0, 0, 0), files[:1], "FLDnCare.sys")]
    prepare.check(configurations)
    prepare.write(stick, configurations, ["KVBAK"])

    exact, other = (foresee(stick, own) for own in (OWN, Numbers(7, 8, 9)))
    assert exact.copied == ["FileList.sys", "Layout1.zip", "clip.ts"]
    assert exact.posted == ["START2RX", "RXCOMPLETE"]
    assert other.copied == ["FLDnCare.sys", "Layout1.zip"]
    assert other.posted == ["START2RXDUNCARE", "RXCOMPLETE"]
    assert not exact.restarts
    assert exact.steps[0] == "copies its whole application to KVBAK"
    assert stick.read("KVCFG/1.2.3/clip.ts") == files[1].read_bytes()
    assert stick.read(f"KVCFG/1.2.3/{LIST_NAME}") == (
        b"[new_local_dist_task]\r\nfileList=1#0#FileList.sys;2#0#Layout1.zip;3#0#clip.ts\r\n")
    assert stick.read("KVCFG/1.2.3/FileList.sys") == b"Layout1.zip\r\nclip.ts\r\n"


def test_unannounced_files_have_no_control_file(stick, files):
    prepare.write(stick, [Configuration(OWN, files, None)])

    forecast = foresee(stick, OWN)
    assert (forecast.copied, forecast.posted) == (["Layout1.zip", "clip.ts"], ["RXCOMPLETE"])


def test_an_image_has_a_partition_with_a_sound_file_system(tmp_path, files):
    prepare.write(media.new_image(tmp_path / "stick.img", 8), [Configuration(OWN, files)])

    file_system = tmp_path / "partition.img"
    file_system.write_bytes((tmp_path / "stick.img").read_bytes()[1 << 20:])
    check = subprocess.run(["/usr/sbin/fsck.vfat", "-n", file_system], capture_output=True, text=True, check=False)
    assert check.returncode == 0, check.stdout
    assert foresee(media.existing(file_system), OWN).copied[-1] == "clip.ts"


@pytest.mark.parametrize(("name", "reason"), [
    ("a;b", "a list for FAT drives cannot hold that name"),
    ("a#b", "a list for FAT drives cannot hold that name"),
    ("${a}", "a list for FAT drives cannot hold that name"),
    ("größe", "a list for FAT drives cannot hold that name"),
    (" a", "a list for FAT drives cannot hold that name"),
    ("a.", "a list for FAT drives cannot hold that name"),
    ("a:b", "a list for FAT drives cannot hold that name"),
    (LIST_NAME.lower(), "that is the name of the list of files"),
    ("kvXferStop.sys", "that is the name of the stop marker"),
    ("my_FileList.sys", "a control file of your own is not wanted: one is made of the files' names"),
])
def test_a_file_that_could_not_arrive_is_refused_before_anything_is_written(tmp_path, name, reason):
    file = tmp_path / name
    file.write_bytes(b"")

    with pytest.raises(StickError) as refusal:
        prepare.check([Configuration(OWN, (file,))])
    assert str(refusal.value) == f"{file}: {reason}"


def test_files_and_displays_that_are_there_twice_are_refused(tmp_path, files):
    (tmp_path / "CLIP.TS").write_bytes(b"")
    with pytest.raises(StickError, match="that is the name of another file"):
        prepare.check([Configuration(OWN, (*files, tmp_path / "CLIP.TS"))])
    with pytest.raises(StickError, match="there is no such file"):
        prepare.check([Configuration(OWN, (tmp_path / "gone",))])
    with pytest.raises(StickError, match="the same display numbers are there twice"):
        prepare.check([Configuration(OWN, files), Configuration(OWN, ())])


def test_nothing_that_is_there_is_overwritten(tmp_path, files):
    image = tmp_path / "stick.img"
    image.write_bytes(b"precious")
    with pytest.raises(StickError, match="is there already"):
        media.new_image(image, 8)
    with pytest.raises(StickError, match="is not empty, there is Layout1.zip"):
        media.new_folder(files[0].parent)
    with pytest.raises(StickError, match="is there already"):
        media.new_folder(image)
    assert image.read_bytes() == b"precious"


def test_what_systems_leave_on_a_stick_is_passed_over(tmp_path, files):
    for name in ("System Volume Information", "$RECYCLE.BIN", ".Trash-1000", ".Spotlight-V100"):
        (tmp_path / "stick" / name).mkdir(parents=True)
    (tmp_path / "stick/System Volume Information/WPSettings.dat").write_bytes(b"w")
    (tmp_path / "stick/desktop.ini").write_bytes(b"d")
    stick = media.new_folder(tmp_path / "stick")
    prepare.write(stick, [Configuration(OWN, files)])

    assert foresee(stick, OWN).copied == ["FileList.sys", "Layout1.zip", "clip.ts"]
    assert (tmp_path / "stick/System Volume Information/WPSettings.dat").read_bytes() == b"w"


@pytest.mark.parametrize(("start", "name"), [
    (b"\xeb\x76\x90EXFAT   ", "exFAT"), (b"\xeb\x52\x90NTFS    ", "NTFS"),
])
def test_an_image_that_a_display_cannot_mount_is_told_by_its_kind(tmp_path, start, name):
    image = tmp_path / "stick.img"
    image.write_bytes(start.ljust(510, b"\0") + b"\x55\xaa" + bytes(4096))

    with pytest.raises(StickError, match=f"is formatted as {name}; a display serves FAT only"):
        media.existing(image)


def test_a_partition_that_a_display_cannot_mount_is_told(tmp_path):
    image = tmp_path / "stick.img"
    media.new_image(image, 8)
    content = bytearray(image.read_bytes())
    content[446 + 4] = 0x07
    image.write_bytes(content)

    with pytest.raises(StickError, match="is formatted as exFAT or NTFS"):
        media.existing(image)


@pytest.mark.parametrize("content", [b"", b"\0" * 4096, b"x" * 511 + b"\x55\xaa"])
def test_what_is_no_image_of_a_drive_is_said_to_be_none(tmp_path, content):
    image = tmp_path / "some.img"
    image.write_bytes(content)

    with pytest.raises(StickError, match="is no image of a FAT drive"):
        media.existing(image)


def run_transmitter(*words):
    return subprocess.run([sys.executable, TRANSMITTER, "stick", *words], capture_output=True, text=True, check=False)


def test_the_command_prepares_and_checks(tmp_path, files):
    image = tmp_path / "stick.img"
    made = run_transmitter("prepare", image, "--mebibytes", "8", "--for", "1.2.0", *files, "--backup")
    checked = run_transmitter("check", image, "1.2.3")

    assert made.returncode == 0, made.stderr
    assert made.stdout.startswith(f"{image} is prepared.\n")
    assert checked.returncode == 0, checked.stderr
    assert "  - copies FileList.sys, Layout1.zip, clip.ts to its target directory\n" in checked.stdout


@pytest.mark.parametrize(("own", "status"), [("1.2.3", 0), ("1.9.3", 3)])
def test_a_check_says_by_its_status_whether_anything_would_be_copied(tmp_path, files, own, status):
    run_transmitter("prepare", tmp_path / "stick", "--for", "1.2.0", *files)

    assert run_transmitter("check", tmp_path / "stick", own).returncode == status


def test_a_stick_that_is_only_asked_for_logs_copies_nothing_to_the_display(tmp_path):
    run_transmitter("prepare", tmp_path / "stick", "--logs")

    assert run_transmitter("check", tmp_path / "stick", "1.2.3").returncode == 3


def test_an_image_that_is_too_small_is_not_left_behind(tmp_path, files):
    image = tmp_path / "stick.img"
    big = tmp_path / "big.bin"
    big.write_bytes(bytes(3 << 20))
    made = run_transmitter("prepare", image, "--mebibytes", "2", "--for", "1.2.3", *files, big)

    assert made.returncode == 1
    assert made.stderr.startswith("transmitter: ")
    assert not image.exists()
