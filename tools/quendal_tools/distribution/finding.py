"""Who is there to be sent to, asked by multicast."""

import time

from quendal_tools.configuration.identity import Numbers
from quendal_tools.distribution.selection import Selection, Target
from quendal_tools.protocol.discovery import Discovery, Replied


def find(discovery: Discovery, selection: Selection, seconds: float, every: float) -> list[Target]:
    """The displays that reply within that time; ends early when the selection names every one and all have."""
    found: dict[str, Target] = {}
    end = time.monotonic() + seconds
    while (left := end - time.monotonic()) > 0 and not selection.complete(found.values()):
        discovery.ask()
        for event in discovery.events(min(every, left)):
            if isinstance(event, Replied):
                who = event.descriptor
                numbers = Numbers(who.group, who.column, who.unit)
                found[event.source] = Target(event.source, numbers, who.hardware_address)
                if selection.complete(found.values()):
                    break
    return list(found.values())
