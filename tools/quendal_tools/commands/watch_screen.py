"""One screen with all the displays that are watched, as many beside each other as there is room for."""

from collections.abc import Sequence

from rich.console import Console, ConsoleOptions, Group, RenderResult
from rich.table import Table
from rich.text import Text

from quendal_tools.commands.watched_displays import WatchedDisplay, WatchedDisplays
from quendal_tools.distribution import texts

# Everybody is new when the watch begins; later it is worth a colour for so long.
_BEGINNING = 20.0
_NEW_SECONDS = 60.0
_CELL_WIDTH = 46
_LINES_AROUND = 5


class WatchScreen:
    """Drawn as things are at that moment; clock gives the time."""

    def __init__(self, displays: WatchedDisplays, begin: float) -> None:
        self._displays = displays
        self._begin = begin
        self.now = begin

    def __rich_console__(self, console: Console, options: ConsoleOptions) -> RenderResult:
        room = max(1, (options.height or console.height) - _LINES_AROUND)
        beside = max(1, options.max_width // _CELL_WIDTH)
        everybody = self._displays.all()
        shown = everybody
        if len(everybody) > room * beside:
            shown = sorted(everybody, key=lambda display: self._state(display)[0] == "")[:room * beside]
        height = min(room, max(1, -(-len(shown) // beside)))
        grid = Table.grid(padding=(0, 1))
        parts = [shown[start:start + height] for start in range(0, len(shown), height)]
        if parts:
            grid.add_row(*map(self._part, parts))
        yield Group(grid, *self._rest(everybody, shown), Text(self.sum(), style="bold"))

    def sum(self) -> str:
        """How many there are of each kind, in one line."""
        everybody = self._displays.all()
        states = [self._state(display)[0].partition(" ")[0] for display in everybody]
        kinds = [f"{states.count(kind)} {kind}" for kind in ("silent", "double", "moved", "new") if kind in states]
        return ", ".join([texts.displays(len(everybody)), *kinds]) + "."

    def _rest(self, everybody: Sequence[WatchedDisplay], shown: Sequence[WatchedDisplay]) -> list[Text]:
        left = len(everybody) - len(shown)
        return [Text(f"and {left} more, for which the screen has no room", style="dim")] if left else []

    def _part(self, displays: Sequence[WatchedDisplay]) -> Table:
        table = Table("display", "address", "heard", "beat", "", box=None, padding=(0, 1, 0, 0), show_edge=False)
        for column in table.columns[2:4]:
            column.justify = "right"
        for display in displays:
            words, style = self._state(display)
            beat = "-" if display.last_heartbeat is None else f"{self.now - display.last_heartbeat:.0f} s"
            table.add_row(display.label, display.address, f"{self.now - display.last_heard:.0f} s", beat,
                          Text(words), style=style)
        return table

    def _state(self, display: WatchedDisplay) -> tuple[str, str]:
        """What is to be said of it, and in which colour."""
        if display.silent:
            return "silent", "bold red"
        if display.numbers in self._displays.doubles():
            return "double", "yellow"
        if display.moved_from:
            return f"moved from {display.moved_from}", "magenta"
        if display.first_heard - self._begin > _BEGINNING and self.now - display.first_heard < _NEW_SECONDS:
            return "new", "green"
        return "", ""
