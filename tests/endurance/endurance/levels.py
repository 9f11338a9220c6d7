"""Is what a process takes level, or does it grow?"""

import dataclasses
import pathlib
from collections.abc import Sequence

# What the allocator may still come to need after the first quarter of a run.
MEMORY_SLACK_KIB = 256


@dataclasses.dataclass(frozen=True)
class Level:
    """What a process takes at one moment."""

    memory_kib: int
    descriptors: int
    threads: int


def measure(pid: int) -> Level:
    """The process's resident memory, open descriptors and threads; OSError when it has ended."""
    process = pathlib.Path(f"/proc/{pid}")
    fields = dict(line.split(":", 1) for line in (process / "status").read_text().splitlines())
    if "VmRSS" not in fields:
        raise ProcessLookupError(f"process {pid} has ended")
    return Level(int(fields["VmRSS"].split()[0]), len(list((process / "fd").iterdir())), int(fields["Threads"]))


def floors(levels: Sequence[Level]) -> tuple[Level, Level]:
    """The least of each in the second quarter and in the last: what comes and goes does not hide what stays."""
    quarter = len(levels) // 4
    if quarter == 0:
        raise ValueError("a quarter of the levels is none at all")
    return _least(levels[quarter:2 * quarter]), _least(levels[-quarter:])


def growth(levels: Sequence[Level]) -> list[str]:
    """What has grown from the second quarter to the last, a line for each; empty when all is level."""
    before, after = floors(levels)
    grown = []
    if after.memory_kib > before.memory_kib + MEMORY_SLACK_KIB:
        grown.append(f"memory has grown from {before.memory_kib} to {after.memory_kib} KiB")
    if after.descriptors > before.descriptors:
        grown.append(f"descriptors have grown from {before.descriptors} to {after.descriptors}")
    if after.threads > before.threads:
        grown.append(f"threads have grown from {before.threads} to {after.threads}")
    return grown


def _least(levels: Sequence[Level]) -> Level:
    return Level(min(level.memory_kib for level in levels), min(level.descriptors for level in levels),
                 min(level.threads for level in levels))
