"""The service running on a board, and what can be seen of it from outside."""

import pathlib
import re
from typing import Any, Protocol

from quendal_tools.board.waiting import wait_until


class Running(Protocol):
    """What runs the service: its process, or an emulated board as a whole."""

    def alive(self) -> bool:
        """Does it still run?"""

    @property
    def returncode(self) -> int | None:
        """How it ended; None as long as it runs."""


class Service:
    """A started service: its process (all of whose operations are here, too) and its captured output."""

    def __init__(self, process: Running, stderr_file: pathlib.Path, stdout_file: pathlib.Path) -> None:
        self.process = process
        self.stderr_file = stderr_file
        self.stdout_file = stdout_file

    def __getattr__(self, name: str) -> Any:
        return getattr(self.process, name)

    def stderr_bytes(self) -> bytes:
        return self.stderr_file.read_bytes()

    def stderr_text(self) -> str:
        """Everything written so far, line ends as they were written."""
        return self.stderr_bytes().decode("utf-8", "surrogateescape")

    def stdout_text(self) -> str:
        return self.stdout_file.read_bytes().decode("utf-8", "surrogateescape")

    def mark(self) -> int:
        """The end of the error stream as it is now, for the after argument of wait_for."""
        return len(self.stderr_text())

    def wait_for(self, wanted: str | re.Pattern[str], timeout: float = 10, after: int = 0) -> int:
        """Waits for a text (or compiled pattern) on the error stream; returns the offset just behind it.

        A service that has ended without writing it makes the wait fail at once.
        """
        pattern = re.compile(re.escape(wanted)) if isinstance(wanted, str) else wanted

        def found() -> tuple[re.Match[str] | None, bool] | None:
            running = self.process.alive()
            match = pattern.search(self.stderr_text(), after)
            if match or not running:
                return match, running
            return None

        try:
            match, _ = wait_until(found, timeout, repr(pattern.pattern))
        except TimeoutError as error:
            raise TimeoutError(f"{error}; the error stream holds:\n{self.stderr_text()[after:]}") from None
        if not match:
            raise AssertionError(
                f"the service ended with status {self.process.returncode} before writing "
                f"{pattern.pattern!r}; the error stream holds:\n{self.stderr_text()[after:]}")
        return match.end()
