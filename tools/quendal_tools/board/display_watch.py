"""A display that waits on a board, seen from the test process."""

import pathlib
from typing import Protocol

from quendal_tools.board.display import EVENTS, VARIABLE_PREFIX, Event
from quendal_tools.board.waiting import wait_until


class Stoppable(Protocol):
    """The process of a display program; pid is its number as the host sees it."""

    pid: int

    def terminate(self) -> None:
        """Asks it to end."""

    def wait(self, timeout: float) -> int:
        """Waits for its end; gives its status."""


class DisplayWatch:
    """The display program on a board; its semaphores exist until it is stopped, or with None as long as the board."""

    def __init__(self, process: Stoppable | None, output_file: pathlib.Path) -> None:
        self.process = process
        self._output_file = output_file
        wait_until(self._ready, 10, "the display's seven semaphores")
        self.env = dict(line.split("=") for line in self._lines() if line.startswith(VARIABLE_PREFIX))

    def _ready(self) -> bool:
        return len(self._lines()) >= len(EVENTS)

    def _lines(self) -> list[str]:
        text = self._output_file.read_text()
        return text[:text.rfind("\n") + 1].splitlines()

    def events(self) -> list[Event]:
        """Every wake-up so far as (seconds since 1970, event name such as "RXCOMPLETE")."""
        fields = (line.split("\t") for line in self._lines()[len(EVENTS):])
        return [(float(moment), name) for moment, name in fields]

    def names(self) -> list[str]:
        return [name for _, name in self.events()]

    def wait_for(self, name: str, count: int = 1, timeout: float = 10) -> float:
        """Waits until the event has come count times in all; returns the time of the last of these."""
        def times() -> list[float] | None:
            found = [moment for moment, event in self.events() if event == name]
            return found if len(found) >= count else None

        return wait_until(times, timeout, f"wake-up {count} by {name}")[count - 1]

    @property
    def pid(self) -> int | None:
        return self.process.pid if self.process else None

    def stop(self) -> None:
        """Ends the display, which removes its semaphores."""
        if self.process:
            self.process.terminate()
            self.process.wait(10)
