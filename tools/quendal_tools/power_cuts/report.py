"""The outcomes of power cuts as text."""

import collections

from quendal_tools.power_cuts.payload import STATES

_VERDICTS = {True: "kept", False: "BROKEN", None: "-"}
_HEADS = ("", "cuts", "kept", "broken", *STATES)


def introduction(payload, course):
    mebibytes = sum(map(len, payload.new.values())) / (1 << 20)
    return (f"{len(payload.new)} files, {mebibytes:.1f} MiB. Uncut: RXCOMPLETE after {course.seconds:.1f} s; "
            f"until {course.seconds_afterwards:g} s later {course.writes} writes to the disk, "
            f"{course.late_writes} of them behind the end of the transfer.")


def line(outcome, mode):
    """One line for one cut."""
    completed = ("before RXCOMPLETE" if outcome.since_completed is None
                 else f"{outcome.since_completed:.3f} s after RXCOMPLETE")
    again = f"; cut again at the start: {outcome.remains_cut_again}" if outcome.remains_cut_again else ""
    return (f"{outcome.cut.number:4}  {_VERDICTS[outcome.verdict(mode)]:6}  {outcome.since_start:6.3f} s, {completed} "
            f"({outcome.cut}), {outcome.lost} of {outcome.unflushed} unflushed writes lost: {outcome.remains}{again}")


def table(outcomes, mode):
    """What became of the cuts, and of all their files, before and after RXCOMPLETE."""
    rows = [_HEADS]
    for title, completed in (("before RXCOMPLETE", False), ("after RXCOMPLETE", True)):
        chosen = [outcome for outcome in outcomes if (outcome.since_completed is not None) == completed]
        verdicts = collections.Counter(outcome.verdict(mode) for outcome in chosen)
        judged = (verdicts[True], verdicts[False]) if not verdicts[None] else ("-", "-")
        rows.append((title, len(chosen), *judged, *_files(outcome.remains for outcome in chosen)))
    cut_again = [outcome.remains_cut_again for outcome in outcomes if outcome.remains_cut_again]
    if cut_again:
        rows.append(("cut again at the start", len(cut_again), "", "", *_files(cut_again)))
    return "\n" + "\n".join(_aligned(rows))


def _files(remains):
    total = sum((collections.Counter(one.states) for one in remains), collections.Counter())
    return [total[state] for state in STATES]


def _aligned(rows):
    widths = [max(len(str(cell)) for cell in column) for column in zip(*rows)]
    for title, *numbers in rows:
        yield "  ".join([f"{title:<{widths[0]}}", *(f"{cell!s:>{width}}" for cell, width in zip(numbers, widths[1:]))])
