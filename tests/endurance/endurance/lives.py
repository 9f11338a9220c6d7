"""Short lives of the service: started, and asked to end at a moment of chance while files come."""

import contextlib
import dataclasses
import pathlib
import random
import signal
import subprocess
import time

from quendal_tools.board.layout import TARGET
from quendal_tools.board.service import Service
from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol.control_files import LIST_FILE, STOP_MARKER
from quendal_tools.sandbox.board import Board
from endurance.traffic import Traffic, transfer
from support.leftovers import leftovers

STORE_MODES = ("direct", "staged")

_FILES = 20
_LARGEST = 200_000
_STOP_SECONDS = 30
_SETTLE_SECONDS = 3
_SIGNALS = (signal.SIGTERM, signal.SIGINT)
_SENT = {LIST_FILE, STOP_MARKER, *(f"file{number}.bin" for number in range(_FILES))}


@dataclasses.dataclass(frozen=True)
class Life:
    """One start and stop; wrong says what was not as it has to be, a line for each."""

    number: int
    store_mode: str
    seconds: float  # from the start to the signal
    stop_seconds: float  # from the signal to the end
    transfers: int  # that have come to their end in that time
    was_loading: bool  # the signal came before its own first instruction, and ended it as it would any program
    wrong: list[str]
    last_words: str


class Lives:
    """A board on which the service lives again and again; files come all the time."""

    def __init__(self, binary: pathlib.Path, store_mode: str, longest: float, seed: int) -> None:
        self._binary = binary
        self._store_mode = store_mode
        self._longest = longest
        self._seed = seed
        self._stack = contextlib.ExitStack()

    def __enter__(self) -> "Lives":
        with self._stack:
            ini = {} if self._store_mode == "direct" else {"storeMode": self._store_mode}
            self._board = self._stack.enter_context(Board(ini=ini))
            self._display = self._board.display()
            self._stack.callback(self._display.stop)
            self._traffic = self._stack.enter_context(Traffic(f"{self._seed} {self._store_mode}"))
            self._traffic.start("transfers", lambda chance: transfer(
                self._board, chance, files=_FILES, largest=_LARGEST, marker=chance.random() < 0.5))
            self._stack = self._stack.pop_all()
        return self

    def __exit__(self, *_: object) -> None:
        self._stack.close()

    def live(self, number: int) -> Life:
        """One start and stop."""
        chance = random.Random(f"{self._seed} life {number}")
        seconds = chance.uniform(0, self._longest)
        before = self._traffic.counts["transfers"]
        service = self._board.start_service(self._binary, env=self._display.env)
        time.sleep(seconds)
        wrong = [] if service.alive() else [f"it had ended by itself, with status {service.returncode}"]
        number_of_signal = chance.choice(_SIGNALS)
        service.send_signal(number_of_signal)
        asked = time.monotonic()
        status = _await_end(service)
        stop_seconds = time.monotonic() - asked
        was_loading = status == -number_of_signal and not service.stderr_bytes()
        if status is None:
            wrong.append(f"it has not ended in {_STOP_SECONDS} s")
        elif status != 0 and not was_loading:
            wrong.append(f"its status was {status}")
        wrong += self._left()
        return Life(number, self._store_mode, seconds, stop_seconds, self._traffic.counts["transfers"] - before,
                    was_loading, wrong, service.stderr_text()[-300:])

    def _left(self) -> list[str]:
        """What is left when what was on its way out has had its moment."""
        with contextlib.suppress(TimeoutError):
            wait_until(lambda: not self._look(), _SETTLE_SECONDS, "nothing to be left")
        return [f"left behind: {thing}" for thing in self._look()]

    def _look(self) -> list[str]:
        return leftovers(self._board, self._display, TARGET, _SENT)


def _await_end(service: Service) -> int | None:
    """Its status; None when it had to be killed."""
    try:
        return service.wait(_STOP_SECONDS)
    except subprocess.TimeoutExpired:
        service.kill()
        service.wait()
        return None
