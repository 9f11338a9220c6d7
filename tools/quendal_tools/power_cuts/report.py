"""The outcomes of power cuts as text."""

import collections
from collections.abc import Iterable, Iterator, Sequence

from quendal_tools.power_cuts.payload import STATES, Payload
from quendal_tools.power_cuts.plan import Course
from quendal_tools.power_cuts.remains import Remains
from quendal_tools.power_cuts.rig import Outcome

_VERDICTS = {True: "kept", False: "BROKEN", None: "-"}
_HEADS = ("", "cuts", "kept", "broken", *STATES)


def introduction(payload: Payload, course: Course) -> str:
    mebibytes = sum(map(len, payload.new.values())) / (1 << 20)
    return (f"{len(payload.new)} files, {mebibytes:.1f} MiB. Uncut: RXCOMPLETE after {course.seconds:.1f} s; "
            f"until {course.seconds_afterwards:g} s later {course.writes} writes to the disk, "
            f"{course.late_writes} of them behind the end of the transfer.")


def line(outcome: Outcome, mode: str) -> str:
    """One line for one cut."""
    completed = ("before RXCOMPLETE" if outcome.since_completed is None
                 else f"{outcome.since_completed:.3f} s after RXCOMPLETE")
    again = f"; cut again at the start: {outcome.remains_cut_again}" if outcome.remains_cut_again else ""
    return (f"{outcome.cut.number:4}  {_VERDICTS[outcome.verdict(mode)]:6}  {outcome.since_start:6.3f} s, {completed} "
            f"({outcome.cut}), {outcome.lost} of {outcome.unflushed} unflushed writes lost: {outcome.remains}{again}")


def table(outcomes: Sequence[Outcome], mode: str) -> str:
    """What became of the cuts, and of all their files, before and after RXCOMPLETE."""
    rows: list[tuple[object, ...]] = [_HEADS]
    for title, completed in (("before RXCOMPLETE", False), ("after RXCOMPLETE", True)):
        chosen = [outcome for outcome in outcomes if (outcome.since_completed is not None) == completed]
        verdicts = collections.Counter(outcome.verdict(mode) for outcome in chosen)
        judged: tuple[object, ...] = (verdicts[True], verdicts[False]) if not verdicts[None] else ("-", "-")
        rows.append((title, len(chosen), *judged, *_files(outcome.remains for outcome in chosen)))
    cut_again = [outcome.remains_cut_again for outcome in outcomes if outcome.remains_cut_again]
    if cut_again:
        rows.append(("cut again at the start", len(cut_again), "", "", *_files(cut_again)))
    return "\n" + "\n".join(_aligned(rows))


def _files(remains: Iterable[Remains]) -> list[int]:
    total: collections.Counter[str] = collections.Counter()
    for one in remains:
        total.update(one.states)
    return [total[state] for state in STATES]


def _aligned(rows: Sequence[Sequence[object]]) -> Iterator[str]:
    widths = [max(len(str(cell)) for cell in column) for column in zip(*rows)]
    for title, *numbers in rows:
        yield "  ".join([f"{title:<{widths[0]}}", *(f"{cell!s:>{width}}" for cell, width in zip(numbers, widths[1:]))])
