"""The transmitter's command "watch": all displays on one screen, until Ctrl-C."""

import argparse
import contextlib
import json
import sys
import time
from collections.abc import Iterator

from rich.console import Console
from rich.live import Live

from quendal_tools.commands import options
from quendal_tools.commands.subcommands import Subcommands
from quendal_tools.commands.watch_screen import WatchScreen
from quendal_tools.commands.watched_displays import Change, WatchedDisplays
from quendal_tools.configuration.example import GROUP_PORT
from quendal_tools.protocol.discovery import Discovery, Refused

_DESCRIPTION = """\
Shows all displays on one screen until Ctrl-C: their numbers and addresses, how long ago each was heard, and its
last heartbeat. Coloured are those that are silent (red), that have numbers which another one has, too (yellow),
that have another address than before (magenta) and that are new (green).

A display that is heard neither by a heartbeat nor by a reply is silent. On a network with many displays heartbeats
are rare, since each of them waits for ten quiet seconds; so all are asked again and again. That disturbs no transfer.

With --json each change is a line: new, silent, back, moved, renumbered, double. Without a terminal it is a line as
well. Ends with status 1 when a display was silent at the end, or none was there.
"""
_LOOK_SECONDS = 0.25


def add_to(commands: Subcommands) -> None:
    watch = commands.add_parser("watch", help="watch all displays on one screen", description=_DESCRIPTION,
                                formatter_class=argparse.RawDescriptionHelpFormatter)
    watch.add_argument("--json", action="store_true", help="print one JSON object for each change instead")
    watch.add_argument("--every", type=options.positive, default=8.0, metavar="S",
                       help="ask every so many seconds; a display replies once in 6 (%(default)g)")
    watch.add_argument("--silent-after", type=options.positive, default=25.0, metavar="S",
                       help="when a display that is not heard is called silent (%(default)g)")
    watch.add_argument("--seconds", type=options.positive, default=float("inf"), metavar="S",
                       help="end after so long (never)")
    watch.add_argument("--port", type=options.count, default=GROUP_PORT,
                       help="the group's port, lcdMcastPort (%(default)s)")
    options.add_network(watch)
    watch.set_defaults(run=run)


def run(given: argparse.Namespace) -> int:
    displays = WatchedDisplays(given.silent_after)
    screen = WatchScreen(displays, time.monotonic())
    console = Console(highlight=False)
    try:
        with Discovery(given.address, given.port, interface=given.interface, server_port=given.server_port,
                       ttl=given.ttl) as discovery, contextlib.suppress(KeyboardInterrupt):
            changes = _changes(discovery, displays, screen, given)
            if given.json or not console.is_terminal:
                for change in changes:
                    print(json.dumps(_plain(change)) if given.json else _words(change), flush=True)
            else:
                with Live(screen, console=console, refresh_per_second=4, screen=True):
                    for _ in changes:
                        pass
    except OSError as error:
        sys.exit(f"transmitter: {given.address} port {given.port}: {error.strerror or error}")
    if not given.json:
        console.print(screen)
    everybody = displays.all()
    return 0 if everybody and not any(display.silent for display in everybody) else 1


def _changes(discovery: Discovery, displays: WatchedDisplays, screen: WatchScreen,
             given: argparse.Namespace) -> Iterator[Change]:
    end = time.monotonic() + given.seconds
    next_question = 0.0
    while (now := time.monotonic()) < end:
        if now >= next_question:
            next_question = now + given.every
            discovery.ask()
        for event in discovery.events(min(_LOOK_SECONDS, end - now)):
            if not isinstance(event, Refused):
                yield from displays.note(event, time.monotonic())
        screen.now = time.monotonic()
        yield from displays.look(screen.now)


def _plain(change: Change) -> dict[str, object]:
    display = change.display
    fields: dict[str, object] = {
        "event": change.kind, "time": round(time.time(), 3), "address": display.address,
        "numbers": list(display.numbers) or None,
        "hardware_address": display.descriptor.hardware_address if display.descriptor else None,
        "heard_seconds_ago": round(time.monotonic() - display.last_heard, 1)}
    if change.kind in ("moved", "renumbered"):
        fields["before"] = change.other
    return fields


def _words(change: Change) -> str:
    who = f"{time.strftime('%H:%M:%S')} {change.display.label} ({change.display.address})"
    return {
        "new": f"{who} is there", "silent": f"{who} is silent", "back": f"{who} is back",
        "moved": f"{who} has moved from {change.other}", "renumbered": f"{who} was {change.other} before",
        "double": f"{who} has numbers that another one has, too"}[change.kind]
