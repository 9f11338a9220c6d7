"""How a stick is formatted: a display mounts FAT, and nothing else."""

import ctypes
import os
import pathlib
import re


class StickError(Exception):
    """What is wrong with a stick, as a sentence."""


_MOUNTS = pathlib.Path("/proc/self/mountinfo")
_FAT = {"vfat", "msdos", "fat", "fat12", "fat16", "fat32"}
_NAMES = {"exfat": "exFAT", "ntfs": "NTFS", "ntfs3": "NTFS", "fuseblk": "exFAT or NTFS"}


def require_fat(path: str | pathlib.Path) -> None:
    """StickError when that folder is a drive of its own that a display does not serve.

    A folder on another drive may well be copied to a stick later; and where nobody can tell, nothing is said.
    """
    kind = kind_of_drive(path)
    if kind and kind.lower() not in _FAT:
        name = _NAMES.get(kind.lower(), kind)
        raise StickError(f"{path} is formatted as {name}; a display serves FAT only: format it as FAT32")


def kind_of_drive(path: str | pathlib.Path) -> str | None:
    """The file system of the drive whose top folder this is; None when it is none, or nobody knows."""
    if os.name == "nt":
        return _kind_on_windows(pathlib.Path(path).resolve())
    try:
        return kind_in(_MOUNTS.read_text(encoding="utf-8", errors="replace"), os.path.realpath(path))
    except OSError:
        return None


def kind_in(mountinfo: str, path: str) -> str | None:
    """The same from the text of /proc/self/mountinfo. Pure."""
    kind = None
    for line in mountinfo.splitlines():
        place, _, system = line.partition(" - ")
        fields = place.split(" ")
        if system and len(fields) > 4 and _unescaped(fields[4]) == path and path != "/":
            kind = system.split(" ")[0]  # the last one lies on top
    return kind


def _unescaped(text: str) -> str:
    return re.sub(r"\\([0-7]{3})", lambda match: chr(int(match[1], 8)), text)


def _kind_on_windows(path: pathlib.Path) -> str | None:
    kernel = getattr(ctypes, "windll", None)
    if kernel is None or path != pathlib.Path(path.anchor):
        return None
    name = ctypes.create_unicode_buffer(32)
    known = kernel.kernel32.GetVolumeInformationW(path.anchor, None, 0, None, None, None, name, len(name))
    return name.value if known else None
