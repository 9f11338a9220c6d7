"""Pictures of the transmitter at work for the documents, of real displays in the sandbox."""

import io
import pathlib
import re
import tempfile
import time

from rich.console import Console, RenderableType

from quendal_tools.board import console as service_console
from quendal_tools.board.layout import TARGET
from quendal_tools.commands.send_screen import RunScreen
from quendal_tools.commands.watch_screen import WatchScreen
from quendal_tools.commands.watched_displays import WatchedDisplays
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.distribution.delivery import Manner, State
from quendal_tools.distribution.package import gather
from quendal_tools.distribution.run import Distribution
from quendal_tools.distribution.selection import Target
from quendal_tools.protocol.discovery import Discovery, Refused
from quendal_tools.sandbox.fleet import Fleet, numbers_of

BOARDS = 24

_WIDTH, _HEIGHT = 112, 34
_FILES, _FILE_SIZE = 20, 400_000
# Slow enough for somebody to look.
_RATE = "100mbit"
_FULL, _FROZEN, _PULLED, _MOVED = 3, 7, 10, 15


def draw(binary: pathlib.Path, folder: pathlib.Path) -> None:
    """Writes send.svg and watch.svg there; takes about a minute and a half."""
    with Fleet(BOARDS) as fleet:
        services = fleet.start_services(binary)
        for service in services:
            service.wait_for(service_console.OPEN, timeout=60)
        fleet.pc.run(["tc", "qdisc", "add", "dev", "br0", "root", "tbf", "rate", _RATE, "burst", "1mb",
                      "latency", "50ms"], check=True)
        (folder / "send.svg").write_text(_sending(fleet), encoding="utf-8")
        (folder / "watch.svg").write_text(_watching(fleet), encoding="utf-8")


def _sending(fleet: Fleet) -> str:
    """With one board that is full, one that is frozen and one that is away."""
    fleet.boards[_FULL].run(["mount", "-t", "tmpfs", "-o", "size=2m", "tmpfs", TARGET], check=True)
    frozen = fleet.boards[_FROZEN].run(["pidof", "Quendal_L"], check=True).stdout.split()
    fleet.boards[_FROZEN].run(["kill", "-STOP", *frozen], check=True)
    targets = [Target(board.address, numbers_of(index)) for index, board in enumerate(fleet.boards)]
    targets[_PULLED] = Target(None, numbers_of(_PULLED))
    with tempfile.TemporaryDirectory() as package:
        for number in range(_FILES):
            pathlib.Path(package, f"clip{number:02}.ts").write_bytes(bytes(_FILE_SIZE))
        manner = Manner(DATA_PORT, make_socket=fleet.pc.socket)
        with Distribution(gather([pathlib.Path(package)]), targets, manner, jobs=6) as distribution:
            while not distribution.look() and distribution.run.count(State.STORED) < BOARDS // 3:
                time.sleep(0.05)
            picture = _svg(RunScreen(distribution.run), "transmitter send --to 1/1-2/1-10,1/3/1-4 lobby/")
    fleet.boards[_FROZEN].run(["kill", "-CONT", *frozen], check=True)
    fleet.boards[_FULL].run(["umount", TARGET], check=True)
    return picture


def _watching(fleet: Fleet) -> str:
    """One board is pulled, and one is given another address."""
    displays = WatchedDisplays(25)
    screen = WatchScreen(displays, time.monotonic())
    with Discovery(make_socket=fleet.pc.socket) as discovery:
        _watch(discovery, displays, screen, 12)
        fleet.boards[_PULLED].cable(up=False)
        _move(fleet, _MOVED)
        _watch(discovery, displays, screen, 34)
        return _svg(screen, "transmitter watch")


def _watch(discovery: Discovery, displays: WatchedDisplays, screen: WatchScreen, seconds: float) -> None:
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        discovery.ask()
        for event in discovery.events(8):
            if not isinstance(event, Refused):
                displays.note(event, time.monotonic())
        screen.now = time.monotonic()
        displays.look(screen.now)


def _move(fleet: Fleet, index: int) -> None:
    board = fleet.boards[index]
    network = board.address.rpartition(".")[0]
    board.run(["ip", "address", "flush", "dev", "eth0"], check=True)
    board.run(["ip", "address", "add", f"{network}.{200 + index}/24", "broadcast", "+", "dev", "eth0"], check=True)
    board.run(["ip", "route", "add", "default", "via", fleet.pc.address], check=True)


def _svg(screen: RenderableType, title: str) -> str:
    """The screen as rich draws it, without the fonts that it would have a browser fetch."""
    console = Console(file=io.StringIO(), record=True, width=_WIDTH, height=_HEIGHT, force_terminal=True,
                      color_system="truecolor")
    console.print(screen)
    text = console.export_svg(title=title)
    return re.sub(r"@font-face \{.*?\}", "", text, flags=re.DOTALL)
