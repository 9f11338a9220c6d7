"""Which displays are meant: by address, by the numbers that they show, or all. Pure.

    192.168.77.10     that address
    all               whoever is found
    1/2/3             group 1, column 2, unit 3
    1/*/*             whoever is found of group 1
    1/2/1-10          ten displays

A selection without "*" names every display that it means, so one that is not found is told as missing.
"""

import dataclasses
import ipaddress
import itertools
import re
from collections.abc import Iterable, Sequence

from quendal_tools.configuration.identity import Numbers

EVERYBODY = "all"

_MOST_NUMBER = 0xFFFF
_MOST_NAMED = 10_000
_NUMBER = re.compile(r"([0-9]{1,5})(?:-([0-9]{1,5}))?", re.ASCII)


class SelectionError(ValueError):
    """Why a text selects nothing."""


@dataclasses.dataclass(frozen=True)
class Target:
    """A display to send to; a missing one has numbers and no address."""

    address: str | None
    numbers: Numbers | None = None
    hardware_address: str | None = None

    @property
    def label(self) -> str:
        """How it is called on a screen, such as 1/2/3."""
        return "/".join(map(str, self.numbers)) if self.numbers else (self.address or "?")


@dataclasses.dataclass(frozen=True)
class Pattern:
    """The first and the last number that fit, for each of the three; None fits any."""

    ranges: tuple[tuple[int, int] | None, ...]

    def fits(self, numbers: Numbers) -> bool:
        return all(limits is None or limits[0] <= number <= limits[1]
                   for limits, number in zip(self.ranges, numbers))

    def named(self) -> list[Numbers]:
        """Every display that has to be there; none when the pattern takes whoever is."""
        if None in self.ranges:
            return []
        return [Numbers(*numbers) for numbers in itertools.product(
            *(range(limits[0], limits[1] + 1) for limits in self.ranges if limits))]


@dataclasses.dataclass(frozen=True)
class Selection:
    addresses: tuple[str, ...] = ()
    patterns: tuple[Pattern, ...] = ()

    @property
    def needs_discovery(self) -> bool:
        return bool(self.patterns)

    def complete(self, found: Iterable[Target]) -> bool:
        """Is everybody found, so that nobody has to be waited for?"""
        there = {target.numbers for target in found}
        return all(pattern.named() and there.issuperset(pattern.named()) for pattern in self.patterns)


def parse(texts: Sequence[str]) -> Selection:
    """The selection of these texts, each of them one or more with commas between; SelectionError."""
    addresses: dict[str, None] = {}
    patterns: dict[Pattern, None] = {}
    for word in (word.strip() for text in texts for word in text.split(",")):
        if word.lower() == EVERYBODY:
            patterns[Pattern((None, None, None))] = None
        elif "/" in word:
            patterns[_pattern(word)] = None
        else:
            addresses[_address(word)] = None
    return Selection(tuple(addresses), tuple(patterns))


def resolve(selection: Selection, found: Sequence[Target]) -> list[Target]:
    """Whom to send to, each once: first the addresses, then by numbers, and behind those who are missing."""
    known = {target.address: target for target in found}
    targets = {address: known.get(address) or Target(address) for address in selection.addresses}
    by_numbers = sorted((target for target in found if target.numbers), key=lambda target: target.numbers or ())
    for target in by_numbers:
        if target.address and target.numbers and any(pattern.fits(target.numbers) for pattern in selection.patterns):
            targets.setdefault(target.address, target)
    there = {target.numbers for target in found}
    named = dict.fromkeys(numbers for pattern in selection.patterns for numbers in pattern.named())
    return list(targets.values()) + [Target(None, numbers) for numbers in named if numbers not in there]


def naming(targets: Iterable[Target]) -> Selection:
    """The selection of displays by the numbers that they are known to have."""
    numbers = dict.fromkeys(target.numbers for target in targets if target.numbers)
    return Selection(patterns=tuple(Pattern(tuple((number, number) for number in each)) for each in numbers))


def refreshed(targets: Iterable[Target], found: Sequence[Target]) -> list[Target]:
    """The same displays where they are now: a lease may have changed, and one that was away may be back.

    One that is not found keeps the address that it had.
    """
    by_hardware = {target.hardware_address: target for target in found if target.hardware_address}
    by_numbers = {target.numbers: target for target in found}

    def where_it_is(target: Target) -> Target:
        if target.hardware_address:
            return by_hardware.get(target.hardware_address, target)
        return by_numbers.get(target.numbers, target) if target.numbers else target

    return [where_it_is(target) for target in targets]


def _pattern(word: str) -> Pattern:
    parts = word.split("/")
    if len(parts) != 3:
        raise SelectionError(f"not group/column/unit, such as 1/2/3 or 1/*/*: {word}")
    pattern = Pattern(tuple(_range(part, word) for part in parts))
    count = 1
    for limits in pattern.ranges:
        count *= limits[1] - limits[0] + 1 if limits else 1
    if count > _MOST_NAMED:
        raise SelectionError(f"too many displays, put * for a number: {word}")
    return pattern


def _range(part: str, word: str) -> tuple[int, int] | None:
    if part == "*":
        return None
    match = _NUMBER.fullmatch(part)
    first, last = (int(match[1]), int(match[2] or match[1])) if match else (1, 0)
    if not first <= last <= _MOST_NUMBER:
        raise SelectionError(f"neither a number from 0 to {_MOST_NUMBER}, nor a range such as 1-10, nor *: {part!r} "
                             f"in {word}")
    return first, last


def _address(word: str) -> str:
    try:
        return str(ipaddress.IPv4Address(word))
    except ValueError:
        raise SelectionError(f'neither an IPv4 address, nor numbers such as 1/2/3 or 1/*/*, nor "{EVERYBODY}": '
                             f"{word!r}") from None
