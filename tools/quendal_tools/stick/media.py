"""A technician's stick as a folder or as an image of a FAT drive, with or without a partition table.

Names on a stick are the same in capital and small letters, in a folder as well: what is prepared there ends
up on a FAT drive.
"""

import os
import pathlib
import shutil
import struct
import subprocess
from collections.abc import Iterable

from quendal_tools.stick import file_system
from quendal_tools.stick.file_system import StickError

# mkfs.vfat stands where only root looks for programs.
_SEARCH_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
_SECTOR = 512
_FIRST_PARTITION = 1 << 20
_PARTITION_ENTRY = struct.Struct("<B3sB3sII")
_PARTITION_TABLE = 446
_BOOT_MARK = b"\x55\xaa"
_FAT_TYPES = {0x01, 0x04, 0x06, 0x0B, 0x0C, 0x0E}
_FAT32_BY_SECTOR = 0x0C
_EXFAT_OR_NTFS = 0x07
# What a boot sector calls file systems that are not FAT.
_OTHER_SYSTEMS = {b"EXFAT   ": "exFAT", b"NTFS    ": "NTFS"}
# What Windows, macOS and Linux leave on a stick by themselves; a display takes no notice of it.
_LEFT_BY_SYSTEMS = {
    "system volume information", "$recycle.bin", "recycler", "found.000", "desktop.ini", "thumbs.db", "autorun.inf",
    ".trashes", ".spotlight-v100", ".fseventsd", ".ds_store", "lost+found"}
_TRASH = ".trash-"

Path = str | pathlib.Path

__all__ = ["StickError"]


class FolderStick:
    """A folder of this machine; it may well be where a real stick is mounted."""

    def __init__(self, path: Path) -> None:
        self._path = pathlib.Path(path)

    def entries(self, path: str) -> list[tuple[str, bool]]:
        """Names in a folder, in the directory's own order, each with whether it is a folder itself."""
        with os.scandir(self._path / path) as entries:
            return [(entry.name, entry.is_dir()) for entry in entries]

    def read(self, path: str) -> bytes:
        return (self._path / path).read_bytes()

    def make_folder(self, path: str) -> None:
        (self._path / path).mkdir(parents=True, exist_ok=True)

    def write(self, path: str, content: bytes) -> None:
        (self._path / path).write_bytes(content)

    def add(self, folder: str, files: Iterable[pathlib.Path]) -> None:
        """Copies files of this machine, given by absolute paths, into a folder of the stick."""
        for file in files:
            shutil.copyfile(file, self._path / folder / file.name)


class ImageStick:
    """The file system in an image file, reached by mtools, so that nothing has to be mounted."""

    def __init__(self, path: Path) -> None:
        self._image = f"{path}@@{_file_system_offset(path)}"
        self._listings: dict[str, list[tuple[str, bool]]] = {}

    def entries(self, path: str) -> list[tuple[str, bool]]:
        if path not in self._listings:
            lines = self._tool("mdir", "-b", "-a", f"::/{path}").decode(errors="replace").splitlines()
            self._listings[path] = [(line.rstrip("/").rpartition("/")[2], line.endswith("/")) for line in lines]
        return self._listings[path]

    def read(self, path: str) -> bytes:
        return self._tool("mtype", f"::/{path}")

    def make_folder(self, path: str) -> None:
        self._change("mmd", f"::/{path}")

    def write(self, path: str, content: bytes) -> None:
        self._change("mcopy", "-", f"::/{path}", content=content)

    def add(self, folder: str, files: Iterable[pathlib.Path]) -> None:
        self._change("mcopy", *files, f"::/{folder}/")

    def _change(self, name: str, *words: Path, content: bytes = b"") -> None:
        self._listings.clear()
        self._tool(name, *words, content=content)

    def _tool(self, name: str, *words: Path, content: bytes = b"") -> bytes:
        return _run(name, "-i", self._image, *words, content=content)


Stick = FolderStick | ImageStick


def existing(path: Path) -> Stick:
    """The stick in a folder or an image file."""
    if os.path.isdir(path):
        file_system.require_fat(path)
        return FolderStick(path)
    if os.path.isfile(path):
        return ImageStick(path)
    raise StickError(f"{path} is neither a folder nor an image file")


def new_folder(path: Path) -> FolderStick:
    """An empty folder to prepare; one that holds something already is left alone, but for what systems leave there."""
    path = pathlib.Path(path)
    if path.exists() and not path.is_dir():
        raise StickError(f"{path} is there already; a stick is prepared in an empty folder")
    path.mkdir(parents=True, exist_ok=True)
    in_the_way = sorted(entry.name for entry in path.iterdir() if not is_left_by_systems(entry.name))
    if in_the_way:
        raise StickError(f"{path} is not empty, there is {in_the_way[0]}; a stick is prepared in an empty folder")
    file_system.require_fat(path)
    return FolderStick(path)


def new_image(path: Path, mebibytes: int, partitioned: bool = True) -> ImageStick:
    """An image with one partition, as sticks are sold; or with the file system alone, as some are formatted."""
    start = _FIRST_PARTITION if partitioned else 0
    try:
        with open(path, "xb") as file:
            file.truncate(start + mebibytes * (1 << 20))
            if partitioned:
                file.write(_master_boot_record(mebibytes * (1 << 20) // _SECTOR))
    except FileExistsError:
        raise StickError(f"{path} is there already") from None
    _run("mkfs.vfat", "-n", "STICK", "--offset", str(start // _SECTOR), path, str(mebibytes * 1024))
    return ImageStick(path)


def is_left_by_systems(name: str) -> bool:
    return name.lower() in _LEFT_BY_SYSTEMS or name.lower().startswith(_TRASH)


def find(stick: Stick, path: str) -> tuple[str | None, bool]:
    """The path with its names as they are on the stick, and whether it is a folder; (None, False) without it."""
    found, is_folder = "", True
    for name in filter(lambda part: part not in ("", "."), path.split("/")):
        matches = [entry for entry in (stick.entries(found) if is_folder else ())
                   if entry[0].casefold() == name.casefold()]
        if not matches:
            return None, False
        found, is_folder = os.path.join(found, matches[0][0]), matches[0][1]
    return found, is_folder


def _master_boot_record(sectors: int) -> bytes:
    no_geometry = b"\xfe\xff\xff"
    entry = _PARTITION_ENTRY.pack(
        0, no_geometry, _FAT32_BY_SECTOR, no_geometry, _FIRST_PARTITION // _SECTOR, sectors)
    return (bytes(_PARTITION_TABLE) + entry).ljust(_SECTOR - len(_BOOT_MARK), b"\0") + _BOOT_MARK


def _file_system_offset(path: Path) -> int:
    """Where the file system begins: behind the start of the image when that holds a partition table."""
    with open(path, "rb") as file:
        start = file.read(_SECTOR)
    if start[-2:] != _BOOT_MARK or len(start) != _SECTOR:
        raise StickError(f"{path} is no image of a FAT drive")
    _refuse_other_systems(path, start)
    _, _, kind, _, first, sectors = _PARTITION_ENTRY.unpack_from(start, _PARTITION_TABLE)
    holds_file_system = start[0] in (0xEB, 0xE9)
    if kind == _EXFAT_OR_NTFS and sectors and not holds_file_system:
        raise StickError(f"{path} is formatted as exFAT or NTFS; a display serves FAT only")
    return first * _SECTOR if kind in _FAT_TYPES and sectors and not holds_file_system else 0


def _refuse_other_systems(path: Path, boot_sector: bytes) -> None:
    if name := _OTHER_SYSTEMS.get(boot_sector[3:11]):
        raise StickError(f"{path} is formatted as {name}; a display serves FAT only")


def _run(*words: Path, content: bytes = b"") -> bytes:
    environment = {**os.environ, "MTOOLSRC": os.devnull, "MTOOLS_SKIP_CHECK": "1", "LC_ALL": "C.UTF-8",
                   "PATH": _SEARCH_PATH}
    try:
        return subprocess.run(
            words, input=content, capture_output=True, check=True, env=environment).stdout
    except FileNotFoundError:
        raise StickError(f"{words[0]} is needed for that; it is in the Debian packages mtools and dosfstools") from None
    except subprocess.CalledProcessError as error:
        raise StickError(error.stderr.decode(errors="replace").strip() or f"{words[0]} failed") from None
