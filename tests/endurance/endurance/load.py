"""A mixed load on one service: transfers, resets, link flaps and alive requests, and what the service takes for it."""

import contextlib
import dataclasses
import pathlib
import random
import time
from collections.abc import Callable

from quendal_tools.board.layout import TARGET
from quendal_tools.board.service import Service
from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol.control_files import STOP_MARKER
from quendal_tools.sandbox.board import Board
from endurance.levels import Level, measure
from endurance.traffic import Asking, Traffic, flap, reset_in_the_middle, transfer

_REQUEST_EVERY = 0.017  # with the sending, 50 a second
_RESET_EVERY = 3
_FLAP_EVERY = 60
_FLAP_SECONDS = 4
_FILES = 50
_LARGEST = 8192
_WITH_MARKER = 0.2
_STOP_SECONDS = 30
_PATIENCE = 90


@dataclasses.dataclass
class Outcome:
    """What was done and measured, and what was wrong at the end, a line for each."""

    counts: dict[str, int]
    levels: list[Level]
    cpu_seconds: float
    wrong: list[str]


def run(binary: pathlib.Path, seconds: float, sample_every: float, seed: int,
        told: Callable[[Level, dict[str, int]], None]) -> Outcome:
    """Loads a service for so long; told hears of each sample."""
    with Board() as board:
        display = board.display()
        service = board.start_service(binary, env=display.env)
        display.wait_for("NETW_UP", timeout=_PATIENCE)
        levels: list[Level] = []
        with Asking(board) as asking, Traffic(seed) as traffic:
            _start(traffic, board, asking)
            deadline = time.monotonic() + seconds
            while time.monotonic() < deadline and service.alive():
                levels.append(measure(service.pid))
                told(levels[-1], traffic.counts)
                time.sleep(sample_every)
        cpu = service.cpu_seconds() if service.alive() else 0.0
        return Outcome(traffic.counts, levels, cpu, _still_serves(board, service, seed) + _end(service))


def _start(traffic: Traffic, board: Board, asking: Asking) -> None:
    traffic.start("transfers", lambda chance: transfer(
        board, chance, files=_FILES, largest=_LARGEST, marker=chance.random() < _WITH_MARKER))
    traffic.start("resets", lambda chance: reset_in_the_middle(board, chance), pause=_RESET_EVERY)
    traffic.start("requests", asking.ask, pause=_REQUEST_EVERY)
    traffic.start("replies", asking.take_reply, pause=0)
    traffic.start("flaps", lambda _: flap(board, _FLAP_SECONDS), pause=_FLAP_EVERY)


def _still_serves(board: Board, service: Service, seed: int) -> list[str]:
    """Is a transfer stored once all is quiet again?"""
    if not service.alive():
        return [f"it has ended by itself, with status {service.returncode}"]
    marker = board.path(f"{TARGET}/{STOP_MARKER}")
    marker.unlink(missing_ok=True)

    def stored() -> bool:
        with contextlib.suppress(OSError):
            transfer(board, random.Random(seed), files=1, largest=_LARGEST)
        return marker.exists()

    try:
        wait_until(stored, _PATIENCE, "a transfer to be stored")
    except TimeoutError:
        return ["it stores nothing any more"]
    return []


def _end(service: Service) -> list[str]:
    service.terminate()
    status = service.wait(_STOP_SECONDS)
    return [] if status == 0 else [f"its status was {status}"]
