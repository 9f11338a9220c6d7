"""Keeping a board up to play with, while the screen shows what happens on it."""

import time
from collections.abc import Sequence

from rich.console import Console

from quendal_tools.board.display_watch import DisplayWatch
from quendal_tools.board.layout import TARGET
from quendal_tools.board.service import Service
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.configuration.places import TOOLS
from quendal_tools.sandbox import attach
from quendal_tools.sandbox.board import Board
from quendal_tools.sandbox.fleet import Fleet

_HELP = """
[bold]The board is up[/bold] at {address} until Ctrl-C. From another terminal:

  send it a file        {tools}/sandbox run --pc -- {tools}/transmitter send --host {address} --port {port} FILE
  get a shell on it     {tools}/sandbox shell
  see what arrived      ls -l {target}
  pull its cable out    {tools}/sandbox run --pc -- ip link set {cable} down     [dim](and up)[/dim]
  see its commands      cat {commands}
"""
_FLEET_HELP = """
[bold]{count} boards are up[/bold], {first} to {last}, until Ctrl-C. From another terminal:

  find them             {tools}/sandbox run --pc -- {tools}/transmitter discover --watch
  send one a file       {tools}/sandbox run --pc -- {tools}/transmitter send --host {first} --port {port} FILE
  get a shell on one    {tools}/sandbox shell --board 1
"""


def keep_running(console: Console, board: Board, service: Service, display: DisplayWatch,
                 text_end: int = 0, event_end: int = 0) -> None:
    """Says how to play with the board and shows wake-ups and the service's own words until Ctrl-C or its end.

    text_end and event_end say how much of either the screen has shown already.
    """
    attach.announce(board.pc, [board])
    console.print(_HELP.format(
        address=board.address, port=DATA_PORT, tools=TOOLS, target=board.path(TARGET), cable=board.cable_name,
        commands=board.path("/var/log/commands.log")), soft_wrap=True)
    try:
        while True:
            running = service.alive()
            text, events = service.stderr_text(), display.events()
            console.print(text[text_end:], end="", style="dim", markup=False, soft_wrap=True)
            for moment, name in events[event_end:]:
                console.print(f"\n[bold yellow]{clock(moment)}  the display is woken by {name}[/bold yellow]")
            text_end, event_end = len(text), len(events)
            if not running:
                console.print(f"\n[red]The service has ended with status {service.returncode}.[/red]")
                return
            time.sleep(0.1)
    except KeyboardInterrupt:
        console.print("\nThe board is gone, and nothing is left of it.")


def keep_fleet_running(console: Console, fleet: Fleet, services: Sequence[Service]) -> None:
    """Says how to play with the boards, and tells of each service that ends, until Ctrl-C."""
    attach.announce(fleet.pc, fleet.boards)
    console.print(_FLEET_HELP.format(
        count=len(services), first=fleet.boards[0].address, last=fleet.boards[-1].address, tools=TOOLS, port=DATA_PORT),
        soft_wrap=True)
    running = dict(zip((board.address for board in fleet.boards), services))
    try:
        while running:
            for address in [address for address, service in running.items() if not service.alive()]:
                service = running.pop(address)
                console.print(f"[red]The service at {address} has ended with status {service.returncode}.[/red]")
            time.sleep(0.5)
    except KeyboardInterrupt:
        console.print("\nThe boards are gone, and nothing is left of them.")


def clock(moment: float) -> str:
    return time.strftime("%H:%M:%S", time.localtime(moment)) + f".{int(moment * 1000) % 1000:03d}"
