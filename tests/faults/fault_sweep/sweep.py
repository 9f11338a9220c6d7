"""Many runs side by side, each on a board of its own, and what came of them."""

import concurrent.futures
import dataclasses
import os

from fault_sweep import cases, verdict
from fault_sweep.scenario import Scenario
from fault_sweep.symbols import Symbols

# A run mostly waits.
RUNS_PER_CORE = 12
_COUNTING_RUNS = 2
_LAST_LINES = 4
# Threads do not always come to a place in the same order, or at all.
_TRIES = 3


@dataclasses.dataclass
class Result:
    case: cases.Case
    wrong: list
    seen: verdict.Seen

    @property
    def reached(self):
        return self.seen.made > 0

    def line(self):
        """The case, what is wrong with it, and the service's last words."""
        if not self.reached:
            return f"not reached: {self.case}"
        lines = [line.strip() for line in self.seen.text.split("\n") if line.strip()]
        words = " | ".join(lines[-_LAST_LINES:]).encode("ascii", "backslashreplace").decode()
        return f"bad: {self.case}: {'; '.join(self.wrong)}; last words: {words}"


class ScenarioFails(Exception):
    """The service does not do without a fault what is demanded of it with one."""


class Sweep:
    """Counts first, so that it is known which calls there are, and then makes them fail one by one."""

    def __init__(self, binary, library, memory=False, jobs=None):
        self._binary = binary
        self._library = library
        self._memory = memory
        self._pool = concurrent.futures.ThreadPoolExecutor(jobs or RUNS_PER_CORE * (os.cpu_count() or 1))
        self._usual_lines = set()
        self.calls = 0
        self.sites = 0

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._pool.shutdown(cancel_futures=True)

    def count(self):
        """All cases, from runs without a fault; ScenarioFails when these do not go well themselves."""
        runs = [Scenario(self._binary, self._library, memory=self._memory) for _ in range(_COUNTING_RUNS)]
        for run, seen in zip(runs, self._pool.map(Scenario.run, runs)):
            if wrong := verdict.judge(None, seen, set()):
                raise ScenarioFails(f"without a fault: {'; '.join(wrong)}\n{seen.text}")
            self._usual_lines.update(seen.text.split("\n"))
        counted = [run.sites for run in runs]
        self.calls = sum(sum(site.counts) for site in counted[0])
        self.sites = len(counted[0])
        return cases.all_cases(counted, Symbols(self._binary))

    def results(self, chosen):
        """The result of each case, in the order in which they come."""
        under_way = [self._pool.submit(self._result, case) for case in chosen]
        for finished in concurrent.futures.as_completed(under_way):
            yield finished.result()

    def _result(self, case):
        for _ in range(_TRIES):
            seen = Scenario(self._binary, self._library, case).run()
            if seen.made:
                return Result(case, verdict.judge(case, seen, self._usual_lines), seen)
        return Result(case, [], seen)
