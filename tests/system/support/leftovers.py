"""What a service that has ended must not leave on its board."""

import pathlib
from collections.abc import Iterator

from quendal_tools.board.display_watch import DisplayWatch
from quendal_tools.sandbox.board import Board

# The service's own directories, which it makes when it starts.
_OWN_TEMPORARY = {"Dest", "Work"}


def leftovers(board: Board, display: DisplayWatch, target: str, sent: set[str]) -> list[str]:
    """Temporary files, files in the target directory that nobody has sent, and processes; a line for each."""
    temporary = sorted({path.name for path in board.path("/tmp").iterdir()} - _OWN_TEMPORARY)
    strange = sorted({path.name for path in board.path(target).iterdir()} - sent)
    return ([f"/tmp/{name}" for name in temporary] + [f"{target}/{name}" for name in strange]
            + [f"process {name}" for pid, name in children_of(board.pid) if pid != display.pid])


def children_of(pid: int) -> Iterator[tuple[int, str]]:
    """The children of a process's threads as (number, name); dead ones that nobody has waited for included."""
    try:
        threads = list(pathlib.Path(f"/proc/{pid}/task").iterdir())
    except FileNotFoundError:
        return  # it has ended
    for thread in threads:
        for child in _read(thread / "children").split():
            if name := _read(pathlib.Path(f"/proc/{child}/comm")).strip():
                yield int(child), name


def _read(path: pathlib.Path) -> str:
    """Empty when the process has gone in between."""
    try:
        return path.read_text()
    except (FileNotFoundError, ProcessLookupError):
        return ""
