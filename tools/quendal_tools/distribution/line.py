"""Taking turns on a line that a few transfers keep busy."""

import threading
import time

_SLICE = 0.25


class Stopped(Exception):
    """The whole run is being ended."""


class Line:
    """So many may send at once; stop ends every wait for a turn."""

    def __init__(self, jobs: int) -> None:
        self._turns = threading.Semaphore(jobs)
        self._stop = threading.Event()

    def stop(self) -> None:
        self._stop.set()

    def check(self) -> None:
        """Stopped when the run is being ended."""
        if self._stop.is_set():
            raise Stopped

    def sleep(self, seconds: float) -> None:
        end = time.monotonic() + seconds
        while (left := end - time.monotonic()) > 0:
            self.check()
            self._stop.wait(min(left, _SLICE))

    def take(self) -> None:
        while True:
            self.check()
            if self._turns.acquire(timeout=_SLICE):
                return

    def give_back(self) -> None:
        self._turns.release()


class Turn:
    """One sender's turn from the with statement's start to its end, or until it lends it to others."""

    def __init__(self, line: Line) -> None:
        self._line = line
        self._held = False

    def __enter__(self) -> "Turn":
        self.take()
        return self

    def __exit__(self, *_: object) -> None:
        self.lend()

    def take(self) -> None:
        if not self._held:
            self._line.take()
            self._held = True

    def lend(self) -> None:
        """Whoever waits for a display must not keep the others from sending."""
        if self._held:
            self._held = False
            self._line.give_back()
