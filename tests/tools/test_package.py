"""The list of files is checked before the first byte is sent."""

import pathlib

import hypothesis
import pytest
from hypothesis import strategies

from quendal_tools.distribution.package import Framing, PackageError, faults, gather, name_fault


def make(folder, *names):
    for name in names:
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(name.encode())
    return folder


def names_of(package):
    return [file.name for file in package.files]


def test_a_folder_is_sent_with_all_that_is_below_it_but_for_what_systems_leave_there(tmp_path):
    folder = make(tmp_path / "package", "b.zip", "a.ts", "sub/c.ts", "Thumbs.db", ".DS_Store", "._a.ts",
                  "System Volume Information/IndexerVolumeGuid", ".hidden")

    package = gather([folder])
    assert names_of(package) == [".hidden", "a.ts", "b.zip", "sub/c.ts"]
    assert package.list_file == ("FileList.sys", b".hidden\r\na.ts\r\nb.zip\r\nsub/c.ts\r\n")
    assert package.size == sum(len(name) for name in names_of(package))
    assert package.marker and not package.restarts


def test_a_file_that_restarts_the_display_goes_last_and_ends_the_transfer(tmp_path):
    folder = make(tmp_path, "Reboot.CFG", "z.ts")

    package = gather([folder / "Reboot.CFG", folder / "z.ts"])
    assert names_of(package) == ["z.ts", "Reboot.CFG"]
    assert package.restarts


@pytest.mark.parametrize(("framing", "list_file", "marker"), [
    (Framing(dont_care=True), ("FLDnCare.sys", b"a.ts\r\n"), True),
    (Framing(no_list_file=True), None, True),
    (Framing(no_stop_marker=True), ("FileList.sys", b"a.ts\r\n"), False),
])
def test_the_framing_is_as_it_is_asked_for(tmp_path, framing, list_file, marker):
    package = gather([make(tmp_path, "a.ts") / "a.ts"], framing)

    assert (package.list_file, package.marker) == (list_file, marker)


def test_a_list_file_of_ones_own_is_taken_as_it_is(tmp_path):
    folder = make(tmp_path, "a.ts", "MyFileList.sys", "other.txt")

    assert gather([folder / "a.ts"], Framing(list_file=folder / "MyFileList.sys")).list_file == (
        "MyFileList.sys", b"MyFileList.sys")
    with pytest.raises(PackageError, match="contains neither"):
        gather([folder / "a.ts"], Framing(list_file=folder / "other.txt"))
    with pytest.raises(PackageError, match="no such file"):
        gather([folder / "a.ts"], Framing(list_file=folder / "no-FileList.sys"))


@pytest.mark.parametrize(("name", "size", "told"), [
    ("größe.ts", 1, "plain ASCII"),
    ("a\nb", 1, "plain ASCII"),
    ("a\x7fb", 1, "plain ASCII"),
    ("", 1, "names no file"),
    ("a/", 1, "names no file"),
    ("a/.", 1, "names no file"),
    ("/etc/passwd", 1, "names no file"),
    ("a/../../b", 1, "leads upwards"),
    ("a" * 256, 1, "too long"),
    ("/".join(["a" * 200] * 6), 1, "too long"),
    (".quendal-staged/a", 1, "for itself"),
    ("MyFileList.sys", 1, "control file"),
    ("FLDnCare.sys.bak", 1, "control file"),
    ("xkvXferStop.sys", 1, "control file"),
    ("big.ts", 1 << 32, "smaller than 4 GiB"),
])
def test_what_a_display_would_refuse_or_misunderstand_is_told(name, size, told):
    assert len(found := faults([(name, size)])) == 1
    assert told in found[0]


@pytest.mark.parametrize(("name", "size"), [
    ("a b;c#d.ts", 0), ("a" * 255, 1), ("sub/a.ts", 1), ("...", 1), ("big.ts", (1 << 32) - 1), ("filelist.sys", 1),
])
def test_what_a_display_takes_is_not_told(name, size):
    assert faults([(name, size)]) == []


def test_every_fault_is_told_at_once(tmp_path):
    folder = make(tmp_path / "one", "a.ts", "ü.ts")
    make(tmp_path / "two", "a.ts")

    with pytest.raises(PackageError) as raised:
        gather([folder, tmp_path / "two", tmp_path / "missing", pathlib.Path("/dev/null")])
    text = str(raised.value)
    assert len(text.splitlines()) == 4
    assert "'a.ts': the name is there twice" in text
    assert "ü" in text and "missing: no such file" in text and "/dev/null: that is neither" in text


def test_a_package_without_a_file_is_told(tmp_path):
    with pytest.raises(PackageError, match="no file to send"):
        gather([tmp_path])


@hypothesis.given(strategies.text())
def test_a_name_that_is_not_told_stays_inside_and_is_no_control_file(name):
    if name_fault(name) is None:
        assert name.isascii() and not name.startswith("/") and ".." not in name.split("/") and len(name) <= 1023
        assert not any(marker in name for marker in ("FileList.sys", "FLDnCare.sys", "kvXferStop.sys"))
