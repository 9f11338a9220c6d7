"""Who a display is."""

from typing import NamedTuple


class Numbers(NamedTuple):
    """A display's own numbers, or those of the displays that are meant, 0 standing for any."""

    group: int
    column: int
    unit: int

    def __str__(self) -> str:
        return f"{self.group}.{self.column}.{self.unit}"
