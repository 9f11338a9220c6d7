"""The displays that a discovery has heard of, and the table of them."""

import collections
import dataclasses
import time

from rich.table import Table
from rich.text import Text

from quendal_tools.protocol.alive import Descriptor
from quendal_tools.protocol.discovery import Heartbeat, Replied

# Heartbeats come every 11 seconds on a quiet network: this display has missed two of them.
_SILENT_AFTER = 30


@dataclasses.dataclass
class FoundDisplay:
    """descriptor is the newest, None while only heartbeats came; network is the shortest way there and back."""

    source: str
    descriptor: Descriptor | None = None
    network: float | None = None
    heartbeats: int = 0
    last_heard: float = 0.0

    def numbers(self) -> tuple[int, ...]:
        return (self.descriptor.group, self.descriptor.column, self.descriptor.unit) if self.descriptor else ()


class FoundDisplays:
    """Keeps one entry for each address that displays speak from."""

    def __init__(self) -> None:
        self._by_source: dict[str, FoundDisplay] = {}

    def note(self, event: Replied | Heartbeat) -> tuple[FoundDisplay, bool]:
        """Takes in a Replied or Heartbeat; returns the entry, and whether it is its first reply."""
        found = self._by_source.setdefault(event.source, FoundDisplay(event.source))
        found.last_heard = time.monotonic()
        if not isinstance(event, Replied):
            found.heartbeats += 1
            return found, False
        first = found.descriptor is None
        found.descriptor = event.descriptor
        known = [seconds for seconds in (found.network, event.network_seconds) if seconds is not None]
        found.network = min(known, default=None)
        return found, first

    def replied(self) -> list[FoundDisplay]:
        """Those that have replied, by group, column and unit."""
        return sorted((found for found in self._by_source.values() if found.descriptor), key=FoundDisplay.numbers)

    def only_heard(self) -> list[FoundDisplay]:
        return [found for found in self._by_source.values() if not found.descriptor]

    def shared_numbers(self) -> set[tuple[int, ...]]:
        """The group, column and unit numbers that more than one display goes by."""
        counts = collections.Counter(found.numbers() for found in self.replied())
        return {numbers for numbers, count in counts.items() if count > 1}

    def table(self, watched: bool = False) -> Table:
        """The displays as a table; when watched, with their heartbeats."""
        columns = ["group", "column", "unit", "address", "hardware address", "round trip"]
        table = Table(*columns, *(["heartbeats", "last heard"] if watched else []))
        for column in (*table.columns[:3], *table.columns[5:]):
            column.justify = "right"
        shared = self.shared_numbers()
        for found in self.replied() + self.only_heard():
            style = "yellow" if found.numbers() in shared else None
            watch_cells = _watch_cells(found) if watched else []
            table.add_row(*_cells(found), *watch_cells, style=style)
        return table


def _cells(found: FoundDisplay) -> list[str]:
    who = found.descriptor
    if not who:
        return ["-", "-", "-", found.source, "-", "-"]
    address = who.address if who.address == found.source else f"{who.address} (from {found.source})"
    return [*map(str, found.numbers()), address, who.hardware_address or "unknown", _milliseconds(found)]


def _milliseconds(found: FoundDisplay) -> str:
    return "-" if found.network is None else f"{found.network * 1000:.2f} ms"


def _watch_cells(found: FoundDisplay) -> list[str | Text]:
    age = time.monotonic() - found.last_heard
    return [str(found.heartbeats), Text(f"{age:.0f} s ago", style="red" if age > _SILENT_AFTER else "green")]
