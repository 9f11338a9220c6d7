"""The files of one transfer, checked before the first byte of them is sent."""

import dataclasses
import os
import pathlib
from collections.abc import Iterable, Iterator, Sequence

from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE, STOP_MARKER, list_text

RESTART_FILE = "reboot.cfg"

_MOST_BYTES = (1 << 32) - 1
_LONGEST_NAME = 1023
_LONGEST_PART = 255
_STAGING = ".quendal-staged"
# What a PC's system leaves in folders, and nobody means to send.
_LEFT_OUT = {"thumbs.db", "desktop.ini", ".ds_store", "system volume information", "$recycle.bin"}


class PackageError(Exception):
    """What is wrong with a package, one sentence for each fault."""


@dataclasses.dataclass(frozen=True)
class PackagedFile:
    """A file of this machine, and the name that it has on the display."""

    path: pathlib.Path
    name: str
    size: int


@dataclasses.dataclass(frozen=True)
class Package:
    """list_file is the name and content of what opens the transfer, None for none; marker: a stop marker ends it."""

    files: tuple[PackagedFile, ...]
    list_file: tuple[str, bytes] | None
    marker: bool = True

    @property
    def size(self) -> int:
        return sum(file.size for file in self.files)

    @property
    def restarts(self) -> bool:
        """Does the display restart at the end? A restart ends the transfer instead of the marker."""
        return bool(self.files) and is_restart(self.files[-1].name)


@dataclasses.dataclass(frozen=True)
class Framing:
    """How a transfer begins and ends, where that is not as usual."""

    dont_care: bool = False
    list_file: pathlib.Path | None = None
    no_list_file: bool = False
    no_stop_marker: bool = False


def gather(paths: Sequence[pathlib.Path], framing: Framing = Framing()) -> Package:
    """The package of these files and folders; PackageError names everything that is wrong with it."""
    problems: list[str] = []
    files = [file for path in paths for file in _files_of(path, problems)]
    problems += faults([(file.name, file.size) for file in files])
    if not files and not problems:
        problems.append("there is no file to send")
    list_file = _list_file(framing, problems)
    if problems:
        raise PackageError("\n".join(problems))
    # A display that has read it does not come back to what follows.
    files.sort(key=lambda file: is_restart(file.name))
    if list_file is None and not framing.no_list_file:
        name = DONT_CARE_LIST_FILE if framing.dont_care else LIST_FILE
        list_file = name, list_text(file.name for file in files)
    return Package(tuple(files), list_file, not framing.no_stop_marker)


def faults(files: Iterable[tuple[str, int]]) -> list[str]:
    """What a display would refuse or misunderstand of files with these names and sizes, as sentences. Pure."""
    found, seen = [], set()
    for name, size in files:
        if problem := name_fault(name):
            found.append(f"{name!r}: {problem}")
        if size > _MOST_BYTES:
            found.append(f"{name!r}: {size} bytes; a file has to be smaller than 4 GiB")
        if name in seen:
            found.append(f"{name!r}: the name is there twice")
        seen.add(name)
    return found


def name_fault(name: str) -> str | None:
    """Why a display refuses this name, or takes it for something else; None when it does not. Pure."""
    parts = name.split("/")
    if not name.isascii() or not name.isprintable():
        return "a name has to be plain ASCII"
    if not name or parts[-1] in ("", ".") or name.startswith("/"):
        return "that names no file"
    if ".." in parts:
        return "the name leads upwards"
    if len(name) > _LONGEST_NAME or any(len(part) > _LONGEST_PART for part in parts):
        return f"the name is too long, {_LONGEST_PART} characters fit"
    if _STAGING in parts:
        return "the display keeps that folder for itself"
    if any(marker in name for marker in (LIST_FILE, DONT_CARE_LIST_FILE, STOP_MARKER)):
        return "a control file is made by the transmitter; the display would take this one for it"
    return None


def is_restart(name: str) -> bool:
    return name.lower() == RESTART_FILE


def _files_of(path: pathlib.Path, problems: list[str]) -> Iterator[PackagedFile]:
    """A file, or all files of a folder by their names from there on."""
    try:
        if not path.is_dir():
            yield _file(path, path.name)
            return
        for folder, folders, names in os.walk(path, onerror=_raise):
            folders[:] = sorted(name for name in folders if _is_meant(name))
            for name in filter(_is_meant, sorted(names)):
                file = pathlib.Path(folder, name)
                yield _file(file, file.relative_to(path).as_posix())
    except OSError as error:
        problems.append(f"{error.filename or path}: {(error.strerror or str(error)).lower()}")


def _file(path: pathlib.Path, name: str) -> PackagedFile:
    with path.open("rb") as file:
        if not path.is_file():
            raise OSError(0, "that is neither a file nor a folder", str(path))
        return PackagedFile(path, name, os.fstat(file.fileno()).st_size)


def _is_meant(name: str) -> bool:
    return name.lower() not in _LEFT_OUT and not name.startswith("._")


def _raise(error: OSError) -> None:
    raise error


def _list_file(framing: Framing, problems: list[str]) -> tuple[str, bytes] | None:
    """The list file of the user's own, if there is one."""
    path = framing.list_file
    if path is None:
        return None
    if not any(marker in path.name for marker in (LIST_FILE, DONT_CARE_LIST_FILE)):
        problems.append(f"{path}: the list file's name contains neither {LIST_FILE} nor {DONT_CARE_LIST_FILE}")
    try:
        return path.name, path.read_bytes()
    except OSError as error:
        problems.append(f"{path}: {(error.strerror or str(error)).lower()}")
        return None
