"""Progress bars for a transfer, one line for each file."""

import contextlib
from collections.abc import Iterator

from rich.console import Console
from rich.progress import BarColumn, DownloadColumn, TaskID, TextColumn
from rich.progress import Progress as Bars

from quendal_tools.protocol.sending import Progress


@contextlib.contextmanager
def transfer_progress(console: Console) -> Iterator[Progress]:
    """Shows bars inside the with statement and gives the callback that a Transmitter calls."""
    with Bars(TextColumn("  {task.description:<20}"), BarColumn(), DownloadColumn(), console=console) as bars:
        tasks: dict[str, TaskID] = {}

        def update(name: str, sent: int, size: int) -> None:
            if name not in tasks:
                tasks[name] = bars.add_task(name, total=size)
            bars.update(tasks[name], completed=sent)

        yield update
