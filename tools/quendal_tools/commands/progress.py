"""Progress bars for a transfer, one line for each file."""

import contextlib

from rich.progress import BarColumn, DownloadColumn, Progress, TextColumn


@contextlib.contextmanager
def transfer_progress(console):
    """Shows bars inside the with statement and gives the callback that a Transmitter calls."""
    with Progress(TextColumn("  {task.description:<20}"), BarColumn(), DownloadColumn(), console=console) as bars:
        tasks = {}

        def update(name, sent, size):
            if name not in tasks:
                tasks[name] = bars.add_task(name, total=size)
            bars.update(tasks[name], completed=sent)

        yield update
