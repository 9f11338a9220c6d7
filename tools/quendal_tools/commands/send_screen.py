"""What a run looks like on the screen: a line for each display and a bar for the whole; or plain lines."""

import queue
import time
from collections.abc import Callable, Iterator

from rich.console import Console, ConsoleOptions, Group, RenderResult
from rich.live import Live
from rich.progress_bar import ProgressBar
from rich.table import Table
from rich.text import Text

from quendal_tools.distribution import texts
from quendal_tools.distribution.delivery import FINAL, Delivery, State
from quendal_tools.distribution.run import Distribution, Run

_STYLES = {State.STORED: "green", State.FAILED: "bold red", State.AGAIN: "yellow", State.STALLED: "yellow",
           State.SENDING: "cyan", State.ENDING: "cyan", State.CONNECTING: "cyan", State.INTERRUPTED: "red"}
# On a screen that is too small, what is going on comes first.
_ORDER = (State.SENDING, State.STALLED, State.AGAIN, State.CONNECTING, State.ENDING, State.FAILED, State.WAITING,
          State.INTERRUPTED, State.STORED)
_LINES_AROUND = 8
_LOOK_SECONDS = 0.1
_SECONDS_BETWEEN_SUMS = 10.0
# What a stop marker takes behind the last byte.
_END_SECONDS = 5.5

Change = tuple[Delivery, State, str | None]


class RunScreen:
    """The run as it is when it is drawn."""

    def __init__(self, run: Run) -> None:
        self._run = run

    def __rich_console__(self, console: Console, options: ConsoleOptions) -> RenderResult:
        room = max(3, (options.height or console.height) - _LINES_AROUND)
        shown = self._run.deliveries
        if len(shown) > room:
            shown = sorted(shown, key=lambda delivery: _ORDER.index(delivery.state))[:room]
        yield Group(_table(shown, self._run.package.size), *self._left_out(shown), self._whole())

    def _left_out(self, shown: list[Delivery]) -> Iterator[Text]:
        names = {id(delivery) for delivery in shown}
        rest = [delivery.state for delivery in self._run.deliveries if id(delivery) not in names]
        if rest:
            counts = ", ".join(f"{rest.count(state)} {state}" for state in _ORDER if state in rest)
            yield Text(f"  and {len(rest)} more: {counts}", style="dim")

    def _whole(self) -> Table:
        whole = max(1, self._run.package.size * len(self._run.deliveries))
        done = settled(self._run)
        grid = Table.grid(padding=(0, 2))
        grid.add_row(ProgressBar(total=whole, completed=done, width=40), f"{100 * done / whole:.0f} %",
                     texts.rate(*recent(self._run)), _time_to_go(self._run, whole - done), sum_of(self._run))
        return grid


def settled(run: Run) -> int:
    """The bytes that nobody has to wait for any more: those sent, and those of displays that are done with."""
    return sum(run.package.size if delivery.state in FINAL else delivery.sent for delivery in run.deliveries)


def recent(run: Run, seconds: float = 5.0) -> tuple[int, float]:
    """The bytes on the line in the last seconds, and these seconds."""
    if len(run.samples) < 2:
        return 0, 0.0
    last = run.samples[-1]
    first = next(sample for sample in run.samples if sample[0] >= last[0] - seconds)
    return last[1] - first[1], last[0] - first[0]


def sum_of(run: Run) -> str:
    return texts.sum_of(run.count(State.STORED), len(run.deliveries), run.count(State.FAILED))


def _time_to_go(run: Run, left: int) -> str:
    count, seconds = recent(run)
    if left <= 0:
        return "nearly done"
    return f"{texts.duration(left * seconds / count + _END_SECONDS)} to go" if count else "-"


def _table(deliveries: list[Delivery], size: int) -> Table:
    table = Table("display", "address", "", "%", "rate", "tries", "", expand=False)
    for column in table.columns[3:6]:
        column.justify = "right"
    for delivery in deliveries:
        moving = delivery.state in (State.SENDING, State.STALLED, State.ENDING)
        bar: ProgressBar | str = ProgressBar(total=max(size, 1), completed=delivery.sent, width=16) if moving else ""
        share = f"{100 * delivery.sent / max(size, 1):.0f}" if delivery.attempts else ""
        table.add_row(
            delivery.target.label, delivery.target.address or "-", bar, share, _rate(delivery),
            str(len(delivery.attempts)) if len(delivery.attempts) > 1 else "",
            Text(_words(delivery.state, delivery.reason), style=_STYLES.get(delivery.state, "dim"),
                 no_wrap=True, overflow="ellipsis"))
    return table


def _rate(delivery: Delivery) -> str:
    if not delivery.attempts or delivery.state in (State.CONNECTING, State.AGAIN, State.FAILED):
        return ""
    attempt = delivery.attempts[-1]
    return texts.rate(delivery.sent, attempt.sending or time.time() - attempt.begin)


def _words(state: State, reason: str | None) -> str:
    return texts.printable(f"{state}: {reason}" if reason else str(state))


def show_live(console: Console, distribution: Distribution) -> None:
    screen = RunScreen(distribution.run)
    with distribution, Live(screen, console=console, refresh_per_second=5, transient=True):
        while not distribution.look():
            time.sleep(_LOOK_SECONDS)


def show_plain(write: Callable[[str], None], distribution: Distribution,
               changes: "queue.SimpleQueue[Change]") -> None:
    """A line for each thing that happens, and the sum now and then."""
    next_sum = time.monotonic() + _SECONDS_BETWEEN_SUMS
    with distribution:
        over = False
        while not over:
            over = distribution.look()
            while not changes.empty():
                if line := _line(*changes.get(), distribution.run.package.size):
                    write(line)
            if time.monotonic() >= next_sum:
                next_sum += _SECONDS_BETWEEN_SUMS
                write(f"{sum_of(distribution.run)}, {texts.size(distribution.run.sent)} sent")
            if not over:
                time.sleep(_LOOK_SECONDS)


def _line(delivery: Delivery, state: State, reason: str | None, size: int) -> str | None:
    if state not in (State.SENDING, State.AGAIN, *FINAL):
        return None
    address = delivery.target.address
    name = delivery.target.label if address in (None, delivery.target.label) else f"{delivery.target.label} ({address})"
    text = f"{name}: {_words(state, reason)}"
    if state == State.STORED:
        seconds = delivery.attempts[-1].sending
        text += f", {texts.size(size)} in {seconds:.1f} s, {texts.rate(size, seconds)}"
    return text
