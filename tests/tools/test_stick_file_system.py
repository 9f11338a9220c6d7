"""How a stick is formatted, as the system's list of mounts tells it."""

import pytest

from quendal_tools.stick import file_system
from quendal_tools.stick.file_system import StickError, kind_in

MOUNTS = r"""
22 1 254:0 / / rw,relatime shared:1 - ext4 /dev/vda1 rw
31 22 8:1 / /media/kit/STICK rw,nosuid shared:2 - vfat /dev/sda1 rw
32 22 8:17 / /media/kit/MY\040STICK rw,nosuid - exfat /dev/sdb1 rw
33 22 8:33 / /media/kit/two rw - ext4 /dev/sdc1 rw
34 33 8:34 / /media/kit/two rw shared:3 master:1 - fuseblk /dev/sdc2 rw
a line - that is none
"""


@pytest.mark.parametrize(("path", "kind"), [
    ("/media/kit/STICK", "vfat"), ("/media/kit/MY STICK", "exfat"), ("/media/kit/two", "fuseblk"),
    ("/media/kit/STICK/folder", None), ("/home/kit/stick", None), ("/", None),
])
def test_only_the_top_folder_of_a_drive_has_a_kind_and_the_last_mount_counts(path, kind):
    assert kind_in(MOUNTS, path) == kind


@pytest.mark.parametrize(("path", "name"), [
    ("/media/kit/MY STICK", "exFAT"), ("/media/kit/two", "exFAT or NTFS"),
])
def test_a_stick_that_a_display_does_not_serve_is_refused(tmp_path, monkeypatch, path, name):
    (tmp_path / "mounts").write_text(MOUNTS)
    monkeypatch.setattr(file_system, "_MOUNTS", tmp_path / "mounts")

    with pytest.raises(StickError, match=f"is formatted as {name}; a display serves FAT only"):
        file_system.require_fat(path)
    file_system.require_fat("/media/kit/STICK")


def test_where_nobody_can_tell_nothing_is_said(tmp_path, monkeypatch):
    monkeypatch.setattr(file_system, "_MOUNTS", tmp_path / "missing")

    file_system.require_fat("/media/kit/MY STICK")
