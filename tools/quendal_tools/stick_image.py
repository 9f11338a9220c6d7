"""A technician's stick as a file: one FAT partition, made and read without mounting it anywhere."""

import pathlib
import struct
import subprocess
import tempfile

_SECTOR = 512
_PARTITION_START = 2048
_FAT32_LBA = 0x0C


class StickImage:
    """An image of a stick.

    Stick.create makes one; its content is {"KVCFG/1.2.3/a.zip": bytes, "KVLOG": None} with None for a folder.
    """

    def __init__(self, path, start):
        self.path = pathlib.Path(path)
        self._start = start

    @classmethod
    def create(cls, path, content, *, size_mib=48, partitioned=True):
        """Makes the image; without a partition table the file system begins with the stick."""
        start = _PARTITION_START if partitioned else 0
        sectors = size_mib * (1 << 20) // _SECTOR
        with open(path, "wb") as file:
            file.truncate(sectors * _SECTOR)
            if partitioned:
                file.write(_partition_table(start, sectors - start))
        kib = (sectors - start) * _SECTOR // 1024
        _run("mkfs.vfat", "-F", "32", "-n", "TECHNICIAN", "--offset", start, path, kib)
        stick = cls(path, start)
        stick._fill(content)
        return stick

    def files(self):
        """Everything on the stick in the form that create takes."""
        with tempfile.TemporaryDirectory() as folder:
            _run("mcopy", "-i", self._drive(), "-s", "-p", "-n", "::", folder)
            root = pathlib.Path(folder)
            return {str(path.relative_to(root)): None if path.is_dir() else path.read_bytes()
                    for path in sorted(root.rglob("*"))}

    def _fill(self, content):
        with tempfile.TemporaryDirectory() as folder:
            for name, data in content.items():
                path = pathlib.Path(folder, name)
                if data is None:
                    path.mkdir(parents=True, exist_ok=True)
                else:
                    path.parent.mkdir(parents=True, exist_ok=True)
                    path.write_bytes(data)
            tops = sorted(pathlib.Path(folder).iterdir())
            if tops:
                _run("mcopy", "-i", self._drive(), "-s", *tops, "::")

    def _drive(self):
        return f"{self.path}@@{self._start * _SECTOR}"


def _partition_table(start, length):
    """The first sector of a stick with one FAT partition."""
    no_cylinders = b"\xfe\xff\xff"
    entry = struct.pack("<B3sB3sII", 0, no_cylinders, _FAT32_LBA, no_cylinders, start, length)
    return bytes(446) + entry + bytes(3 * 16) + b"\x55\xaa"


def _run(*command):
    words = [str(word) for word in command]
    result = subprocess.run(words, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise OSError(f"{' '.join(words)}: {(result.stderr or result.stdout).strip()}")
