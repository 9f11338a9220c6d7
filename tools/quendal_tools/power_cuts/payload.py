"""The files of the transfers that are cut, in an old and a new generation, and what a cut has left of them."""

import collections
import dataclasses
import random
from collections.abc import Mapping

_KIB = 1024
_SMALL = 256 * _KIB
_BIG = (1024 * _KIB, 2048 * _KIB)
_BIG_ONE_IN = 100
_ARCHIVE_ONE_IN = 10  # the service writes these down in its log of archives as well

STATES = ("old", "new", "empty", "short", "mixed", "missing")


@dataclasses.dataclass(frozen=True)
class Payload:
    """Two generations of files with the same names, each as {name: bytes}; no two contents are the same."""

    old: dict[str, bytes]
    new: dict[str, bytes]

    @classmethod
    def make(cls, count: int, seed: int) -> "Payload":
        names = [f"file{number:04d}.{'zip' if number % _ARCHIVE_ONE_IN == 0 else 'bin'}" for number in range(count)]
        old, new = ({name: _content(number, f"{name} {generation} {seed}") for number, name in enumerate(names)}
                    for generation in ("old", "new"))
        return cls(old, new)

    def states(self, found: Mapping[str, bytes | None]) -> collections.Counter[str]:
        """How many files there are of each state; found is {name: bytes} and may hold other files as well."""
        return collections.Counter(state(self.old[name], self.new[name], found.get(name)) for name in self.new)


def state(old: bytes, new: bytes, found: bytes | None) -> str:
    """What has become of one file; found is None for one that is not there."""
    if found is None:
        return "missing"
    if found in (old, new):
        return "new" if found == new else "old"
    if not found:
        return "empty"
    return "short" if old.startswith(found) or new.startswith(found) else "mixed"


def _content(number: int, title: str) -> bytes:
    """Most files are small, of any order of magnitude, and some are big. None is empty: that would look like a loss."""
    chance = random.Random(title)
    size = chance.randint(*_BIG) if number % _BIG_ONE_IN == _BIG_ONE_IN - 1 else round(_SMALL ** chance.random())
    return f"{title}\n".encode() + chance.randbytes(size)
