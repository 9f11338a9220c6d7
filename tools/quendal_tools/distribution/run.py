"""One package on its way to many displays, a thread for each of them."""

import dataclasses
import threading
import time
from collections.abc import Sequence

from quendal_tools.distribution.delivery import FINAL, Courier, Delivery, Manner, State
from quendal_tools.distribution.line import Line
from quendal_tools.distribution.package import Package
from quendal_tools.distribution.selection import Target

# A display writes slower than the line is, so a few of them together keep it busy.
DEFAULT_JOBS = 16

# The line's throughput is looked at so often; twice as seldom each time that there are too many looks.
_SAMPLE_SECONDS = 0.25
_MOST_SAMPLES = 600


@dataclasses.dataclass
class Run:
    """begin is in seconds since 1970; samples are (seconds from the begin, bytes sent by then)."""

    package: Package
    deliveries: list[Delivery]
    jobs: int
    begin: float
    seconds: float = 0.0
    samples: list[tuple[float, int]] = dataclasses.field(default_factory=list)

    def count(self, *states: State) -> int:
        return sum(delivery.state in states for delivery in self.deliveries)

    @property
    def finished(self) -> bool:
        return self.count(*FINAL) == len(self.deliveries)

    @property
    def all_stored(self) -> bool:
        return self.count(State.STORED) == len(self.deliveries)

    @property
    def sent(self) -> int:
        """Bytes on the line so far, those of failed attempts included."""
        return sum(delivery.sent + sum(attempt.sent for attempt in delivery.attempts[:-1])
                   for delivery in self.deliveries)


class Distribution:
    """Runs the couriers; whoever shows it calls look again and again until it says that all is over."""

    def __init__(self, package: Package, targets: Sequence[Target], manner: Manner, jobs: int = DEFAULT_JOBS) -> None:
        self.run = Run(package, [Delivery(target) for target in targets], jobs, time.time())
        self._line = Line(jobs)
        self._clock = time.monotonic()
        self._sample_seconds = _SAMPLE_SECONDS
        couriers = [Courier(delivery, package, self._line, manner) for delivery in self.run.deliveries]
        self._threads = [threading.Thread(target=courier.deliver, daemon=True) for courier in couriers]

    def __enter__(self) -> "Distribution":
        for thread in self._threads:
            thread.start()
        return self

    def __exit__(self, *_: object) -> None:
        """Nobody sends any more; deliveries that are under way are interrupted."""
        self._line.stop()
        for thread in self._threads:
            thread.join()
        self._note()

    def look(self) -> bool:
        """Takes a sample when one is due; is everything over?"""
        samples = self.run.samples
        if not samples or time.monotonic() - self._clock >= samples[-1][0] + self._sample_seconds:
            self._note()
        if len(samples) > _MOST_SAMPLES:
            del samples[1::2]
            self._sample_seconds *= 2
        return self.run.finished

    def _note(self) -> None:
        if not self.run.finished or not self.run.seconds:
            self.run.seconds = time.monotonic() - self._clock
            self.run.samples.append((self.run.seconds, self.run.sent))
