"""What is known of displays that are watched: who is new, silent, back, somewhere else, or twice. Pure."""

import collections
import dataclasses
from collections.abc import Iterator

from quendal_tools.protocol.alive import Descriptor
from quendal_tools.protocol.discovery import Heartbeat, Replied


@dataclasses.dataclass
class WatchedDisplay:
    """Times are those that the caller gives; moved_from is its earlier address."""

    address: str
    first_heard: float
    last_heard: float
    descriptor: Descriptor | None = None
    heartbeats: int = 0
    last_heartbeat: float | None = None
    silent: bool = False
    moved_from: str | None = None

    @property
    def numbers(self) -> tuple[int, ...]:
        return (self.descriptor.group, self.descriptor.column, self.descriptor.unit) if self.descriptor else ()

    @property
    def label(self) -> str:
        return "/".join(map(str, self.numbers)) or "?"


@dataclasses.dataclass(frozen=True)
class Change:
    """kind is new, silent, back, moved, renumbered or double; other is the address or numbers it is about."""

    kind: str
    display: WatchedDisplay
    other: str | None = None


class WatchedDisplays:
    """One entry for each address; a display whose hardware address turns up elsewhere has moved."""

    def __init__(self, silent_after: float) -> None:
        self.silent_after = silent_after
        self._by_address: dict[str, WatchedDisplay] = {}
        self._told_double: set[tuple[int, ...]] = set()

    def all(self) -> list[WatchedDisplay]:
        """By their numbers; those of whom only heartbeats came are last."""
        return sorted(self._by_address.values(),
                      key=lambda display: (not display.numbers, display.numbers, display.address))

    def doubles(self) -> set[tuple[int, ...]]:
        counts = collections.Counter(display.numbers for display in self._by_address.values() if display.numbers)
        return {numbers for numbers, count in counts.items() if count > 1}

    def note(self, event: Replied | Heartbeat, now: float) -> list[Change]:
        known = self._by_address.get(event.source)
        display = known or WatchedDisplay(event.source, now, now)
        self._by_address[event.source] = display
        display.last_heard = now
        changes = list(self._of_reply(display, event, new=not known)) if isinstance(event, Replied) else []
        if isinstance(event, Heartbeat):
            display.heartbeats += 1
            display.last_heartbeat = now
        if not known and not any(change.kind == "moved" for change in changes):
            changes.insert(0, Change("new", display))
        if display.silent:
            display.silent = False
            changes.insert(0, Change("back", display))
        return changes

    def look(self, now: float) -> list[Change]:
        """Who has fallen silent since the last look."""
        changes = []
        for display in self._by_address.values():
            if not display.silent and now - display.last_heard > self.silent_after:
                display.silent = True
                changes.append(Change("silent", display))
        return changes

    def _of_reply(self, display: WatchedDisplay, event: Replied, new: bool) -> Iterator[Change]:
        before, display.descriptor = display.numbers, event.descriptor
        if new and (old := self._elsewhere(display)):
            del self._by_address[old.address]
            display.moved_from = old.address
            display.first_heard = old.first_heard
            before = old.numbers
            yield Change("moved", display, old.address)
        if before and before != display.numbers:
            yield Change("renumbered", display, "/".join(map(str, before)))
        doubles = self.doubles()
        if display.numbers in doubles - self._told_double:
            yield Change("double", display, display.label)
        self._told_double = doubles

    def _elsewhere(self, display: WatchedDisplay) -> WatchedDisplay | None:
        """The entry under which this hardware was known at another address."""
        hardware = display.descriptor and display.descriptor.hardware_address
        return next((other for other in self._by_address.values() if hardware and other is not display
                     and other.descriptor and other.descriptor.hardware_address == hardware), None)
