"""Writes the initial file system of an emulated board: a cpio archive in the kernel's "newc" form.

The archive is written entry by entry from Python, so that owners, set-user-ID bits and device nodes come
out as they must be without anybody being root.
"""

import itertools
import stat
from typing import BinaryIO

_MAGIC = b"070701"
_TRAILER = "TRAILER!!!"
_ALIGNMENT = 4
_WHOLE = 512


class Initramfs:
    """One archive being written to a binary file; several closed ones may follow each other in a file."""

    def __init__(self, file: BinaryIO) -> None:
        self._file = file
        self._numbers = itertools.count(1)
        self._known: set[str] = set()

    def directory(self, path: str, mode: int = 0o755) -> None:
        """A directory, with the ones above it; one that is there already stays as it is."""
        path = path.strip("/")
        if not path or path in self._known:
            return
        self.directory(path.rpartition("/")[0])
        self._known.add(path)
        self._entry(path, stat.S_IFDIR | mode)

    def file(self, path: str, content: str | bytes, mode: int = 0o644) -> None:
        self._place(path, stat.S_IFREG | mode, content.encode() if isinstance(content, str) else content)

    def link(self, path: str, target: str) -> None:
        """A symbolic link."""
        self._place(path, stat.S_IFLNK | 0o777, target.encode())

    def device(self, path: str, mode: int, major: int, minor: int) -> None:
        """A character device."""
        self._place(path, stat.S_IFCHR | mode, device=(major, minor))

    def close(self) -> None:
        self._entry(_TRAILER, 0)
        self._file.write(bytes(-self._file.tell() % _WHOLE))

    def _place(self, path: str, mode: int, content: bytes = b"", device: tuple[int, int] = (0, 0)) -> None:
        path = path.strip("/")
        self.directory(path.rpartition("/")[0])
        self._known.add(path)
        self._entry(path, mode, content, device)

    def _entry(self, path: str, mode: int, content: bytes = b"", device: tuple[int, int] = (0, 0)) -> None:
        name = path.encode() + b"\0"
        fields = (next(self._numbers), mode, 0, 0, 1, 0, len(content), 0, 0, *device, len(name), 0)
        self._file.write(_MAGIC + b"".join(b"%08X" % field for field in fields) + name)
        self._pad()
        self._file.write(content)
        self._pad()

    def _pad(self) -> None:
        self._file.write(bytes(-self._file.tell() % _ALIGNMENT))
