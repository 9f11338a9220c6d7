"""A disk with a volatile write cache, as a board's has: when the power goes, what was not flushed may be lost.

A write is acknowledged at once, seen by every later read, and safe from the next flush on. At a power cut
each unflushed write may have reached the medium or not, whatever became of those before and after it, and one of
several sectors may have reached it in part: a sector is whole or untouched, nothing larger is.
"""

import os
import pathlib
import random

SECTOR = 512


class VolatileDisk:
    """A disk on an image file, which holds at any time what a read would give. Not for several threads."""

    def __init__(self, path: str | pathlib.Path) -> None:
        self._descriptor = os.open(path, os.O_RDWR | os.O_CLOEXEC)
        self.size = os.fstat(self._descriptor).st_size
        # (offset, what was there, what was written), in the order of the writes
        self._unflushed: list[tuple[int, bytes, bytes]] = []

    def __enter__(self) -> "VolatileDisk":
        return self

    def __exit__(self, *_: object) -> None:
        os.close(self._descriptor)

    def read(self, offset: int, length: int) -> bytes:
        return os.pread(self._descriptor, length, offset)

    def write(self, offset: int, data: bytes) -> None:
        self._unflushed.append((offset, self.read(offset, len(data)), data))
        os.pwrite(self._descriptor, data, offset)

    def flush(self) -> None:
        self._unflushed.clear()

    def lose_power(self, chance: random.Random) -> tuple[int, int]:
        """Leaves on the image what the medium may hold, by the random.Random given.

        Returns how many writes were not flushed, and how many of them did not arrive whole.
        """
        survival = chance.choice((0.0, chance.random(), 1.0))
        survivors = [(offset, _surviving(data, survival, chance)) for offset, _, data in self._unflushed]
        lost = sum(len(left) < len(data) for (_, left), (_, _, data) in zip(survivors, self._unflushed))
        for offset, before, _ in reversed(self._unflushed):
            os.pwrite(self._descriptor, before, offset)
        for offset, left in survivors:
            os.pwrite(self._descriptor, left, offset)
        count = len(self._unflushed)
        self._unflushed.clear()
        return count, lost


def _surviving(data: bytes, survival: float, chance: random.Random) -> bytes:
    """The part of a write that has reached the medium: all, nothing, or its first sectors."""
    if chance.random() < survival:
        return data
    sectors = len(data) // SECTOR
    torn = survival > 0 and sectors > 1 and chance.random() < 0.5
    return data[:chance.randrange(1, sectors) * SECTOR] if torn else b""
