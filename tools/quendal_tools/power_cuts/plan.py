"""When the power goes, and what must be found afterwards. Pure."""

import dataclasses
import math
import random
from collections.abc import Mapping

from quendal_tools.protocol.control_files import STOP_MARKER

DIRECT, STAGED = MODES = ("direct", "staged")
REBOOT_FILE = "reboot.cfg"
ENDS = {"stop": STOP_MARKER, "reboot": REBOOT_FILE}

MOMENT = "at a moment"
WRITE = "at a write"
LATE_WRITE = "at a write behind the end"
AFTERWARDS = "after RXCOMPLETE"
# Those that a mode says something about; they take turns.
KINDS = {DIRECT: (MOMENT, AFTERWARDS), STAGED: (MOMENT, WRITE, LATE_WRITE, AFTERWARDS)}


@dataclasses.dataclass(frozen=True)
class Course:
    """How a transfer goes that nobody cuts: when RXCOMPLETE comes, and how much is written to the disk.

    The writes are counted until the time after RXCOMPLETE is over in which cuts may come; the late ones from
    the moment at which the service knows the name of the file that ends the transfer.
    """

    seconds: float
    seconds_afterwards: float
    writes: int
    late_writes: int

    @property
    def end(self) -> float:
        return self.seconds + self.seconds_afterwards


@dataclasses.dataclass(frozen=True)
class Cut:
    """One cut. amount: seconds from the start or from RXCOMPLETE, or the number of a write to the disk.

    limit: seconds from the start; where a write is waited for that does not come, the power goes then
    """

    number: int
    kind: str
    amount: float
    limit: float = math.inf

    def __str__(self) -> str:
        return f"{self.kind}, {self.amount}" if self.counts_writes else f"{self.kind}, {self.amount:.3f} s"

    @property
    def counts_writes(self) -> bool:
        return self.kind in (WRITE, LATE_WRITE)

    def is_due(self, since_start: float, since_completed: float | None) -> bool:
        """By the clock, in seconds; since_completed is None as long as RXCOMPLETE has not come."""
        if self.counts_writes:
            return since_start >= self.limit
        elapsed = since_completed if self.kind == AFTERWARDS else since_start
        return elapsed is not None and elapsed >= self.amount


def chance_of(seed: int, number: int) -> random.Random:
    """Everything that is left to chance in one cut, whichever boards run beside it."""
    return random.Random(f"{seed} cut {number}")


def make_cut(number: int, mode: str, course: Course, chance: random.Random) -> Cut:
    """Moments are fair to the clock, and writes to what the disk goes through in a short time."""
    kind = KINDS[mode][number % len(KINDS[mode])]
    if kind == MOMENT:
        return Cut(number, kind, chance.uniform(0, course.end))
    if kind == AFTERWARDS:
        return Cut(number, kind, chance.uniform(0, course.seconds_afterwards))
    writes = course.writes if kind == WRITE else course.late_writes
    return Cut(number, kind, chance.randint(1, max(writes, 1)), course.end)


def holds(mode: str, completed: bool, states: Mapping[str, int]) -> bool | None:
    """Is what was found (a count for each state) what the mode promises? None when it promises nothing for this cut.

    completed: the cut came after RXCOMPLETE
    """
    found = {state for state, count in states.items() if count}
    if completed:
        return found == {"new"}
    return found in ({"old"}, {"new"}) if mode == STAGED else None
