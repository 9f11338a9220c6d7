"""Which calls are made to fail: each site's first and last call in each phase, with each of the call's errors."""

import dataclasses

from fault_sweep import errors
from fault_sweep.record import PHASES


@dataclasses.dataclass(frozen=True)
class Case:
    """The number-th call from one site in one phase fails, once."""

    call: str
    site: int
    phase: str
    number: int
    error: str
    on_first_thread: bool
    place: str

    @property
    def in_start(self):
        """Before the tasks run the service may still give up."""
        return self.phase == "start" and self.on_first_thread

    @property
    def is_about_memory(self):
        return self.call in ("malloc", "calloc", "realloc")

    def __str__(self):
        return f"{self.call} {self.error}, call {self.number} in {self.phase} at {self.place}"


def plan(case, memory=False):
    """The text that tells the preloaded library what to do; without a case it only counts."""
    if case is None:
        return f"0 0 0 0 {int(memory)}"
    number = errors.number_of(case.error)
    return f"{case.site:x} {PHASES.index(case.phase)} {case.number} {number} {int(case.is_about_memory)}"


def all_cases(counted, symbols):
    """Every case that the counting runs give.

    counted  the sites of each counting run
    A run is a little different each time, so "last" is the last one that came in all of them.
    """
    by_hash = [{site.hash: site for site in run} for run in counted]
    cases = []
    for site in counted[0]:
        runs = [run[site.hash] for run in by_hash if site.hash in run]
        if len(runs) < len(counted):
            continue
        place = symbols.title(site.frames)
        for index, phase in enumerate(PHASES):
            last = min(run.counts[index] for run in runs)
            for number in sorted({min(last, 1), last} - {0}):
                cases += [Case(site.call, site.hash, phase, number, error, site.on_first_thread, place)
                          for error in errors.errors_of(site.call)]
    return cases


def only(cases, calls):
    return [case for case in cases if not calls or case.call in calls]


def sample(cases, count):
    """About so many, spread evenly over all places; the same ones each time as long as the program is the same."""
    ordered = sorted(cases, key=_order)
    if not count or count >= len(ordered):
        return ordered
    return [ordered[index * len(ordered) // count] for index in range(count)]


def short_form(cases):
    """For each call in each phase the first and the last place by name: the first call there, the first error."""
    chosen: dict[tuple[str, str], tuple[Case, Case]] = {}
    for case in sorted(cases, key=_order):
        if case.number == 1 and case.error == errors.errors_of(case.call)[0]:
            first, _ = chosen.get((case.call, case.phase), (case, case))
            chosen[case.call, case.phase] = (first, case)
    return list(dict.fromkeys(case for pair in chosen.values() for case in pair))


def _order(case):
    return case.call, case.phase, case.place, case.site, case.number, case.error
