"""The transmitter's command "discover": which displays are there."""

import argparse
import contextlib
import json
import sys
import time
from collections.abc import Iterator

from rich.console import Console
from rich.live import Live

from quendal_tools.commands import options
from quendal_tools.commands.found_displays import FoundDisplays
from quendal_tools.commands.subcommands import Subcommands
from quendal_tools.configuration.example import GROUP_PORT
from quendal_tools.distribution import texts
from quendal_tools.protocol.discovery import Discovery, Event, Refused, Replied

_DESCRIPTION = """\
Asks the displays on the network who they are, and shows a table of those that reply.

A display replies once in 6 seconds, so one that has just replied to somebody else, or has just been started,
replies to a later request only; the milliseconds are the network's, there and back, without that wait. Displays
with the same numbers are shown in yellow. Ends with status 0 when a display has replied, else 1.
"""
# Heartbeats need a network on which nobody asks.
_SECONDS_BETWEEN_ROUNDS = 60


def add_to(commands: Subcommands) -> None:
    discover = commands.add_parser("discover", help="find the displays on the network", description=_DESCRIPTION,
                                   formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("group", "column", "unit"):
        discover.add_argument(f"--{name}", type=options.number, default=0, metavar="N",
                              help=f"ask only displays of this {name} number (0: of any)")
    discover.add_argument("--seconds", type=options.positive, default=7.0, metavar="S", help="how long (%(default)g)")
    discover.add_argument("--every", type=options.positive, default=2.0, metavar="S",
                          help="ask again every so many seconds (%(default)g)")
    discover.add_argument("--watch", action="store_true",
                          help="go on until Ctrl-C: mark heartbeats, and ask again once in a minute")
    discover.add_argument("--json", action="store_true", help="print one JSON object for each event instead")
    discover.add_argument("--port", type=options.number, default=GROUP_PORT,
                          help="the group's port, lcdMcastPort (%(default)s)")
    options.add_network(discover)
    discover.set_defaults(run=run)


def run(given: argparse.Namespace) -> int:
    found = FoundDisplays()
    try:
        with Discovery(given.address, given.port, interface=given.interface, server_port=given.server_port,
                       ttl=given.ttl) as discovery:
            (_print_json if given.json else _show_table)(_hear(discovery, given), found, given)
    except OSError as error:
        sys.exit(f"transmitter: {given.address} port {given.port}: {error.strerror or error}")
    return 0 if found.replied() else 1


def _hear(discovery: Discovery, given: argparse.Namespace) -> Iterator[Event]:
    """Asks, and gives every event until the time is over."""
    end = time.monotonic() + given.seconds
    while (left := end - time.monotonic()) > 0:
        discovery.ask(given.group, given.column, given.unit)
        yield from discovery.events(min(given.every, left))
    while given.watch:
        yield from discovery.events(_SECONDS_BETWEEN_ROUNDS)
        discovery.ask(given.group, given.column, given.unit)


def _print_json(events: Iterator[Event], found: FoundDisplays, _: argparse.Namespace) -> None:
    with contextlib.suppress(KeyboardInterrupt):
        for event in events:
            if not isinstance(event, Refused):
                found.note(event)
            print(json.dumps(_plain(event)), flush=True)


def _plain(event: Event) -> dict[str, object]:
    fields: dict[str, object] = {"event": type(event).__name__.lower(), "source": event.source}
    if isinstance(event, Replied):
        return {**fields, **vars(event.descriptor), "milliseconds": _milliseconds(event)}
    return {**fields, "reason": event.reason} if isinstance(event, Refused) else fields


def _milliseconds(event: Replied) -> float | None:
    return None if event.network_seconds is None else round(event.network_seconds * 1000, 3)


def _show_table(events: Iterator[Event], found: FoundDisplays, given: argparse.Namespace) -> None:
    console = Console(highlight=False)
    live = Live(console=console, refresh_per_second=4, transient=True,
                get_renderable=lambda: found.table(given.watch) if console.is_terminal else "")
    with contextlib.suppress(KeyboardInterrupt), live:
        for event in events:
            if isinstance(event, Refused):
                console.print(f"{event.source} sent {event.reason}.", style="red", soft_wrap=True)
            else:
                found.note(event)
    console.print(found.table(given.watch))
    console.print(_summary(found), soft_wrap=True)


def _summary(found: FoundDisplays) -> str:
    replied = found.replied()
    if not replied:
        return "[red]No display has replied.[/red]"
    text = f"[bold green]{texts.displays(len(replied))} replied[/bold green]"
    if known := [display.network for display in replied if display.network is not None]:
        text += f", the farthest {max(known) * 1000:.2f} ms away"
    text += "."
    if found.shared_numbers():
        text += " [yellow]Some have the same numbers.[/yellow]"
    return text
