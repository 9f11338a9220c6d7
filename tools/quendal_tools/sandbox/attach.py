"""Finding a board that another program keeps up, and running programs there from one's own terminal."""

import contextlib
import json
import os
import pathlib
import subprocess
import tempfile
from collections.abc import Iterable, Sequence

from quendal_tools.sandbox.board import Board
from quendal_tools.sandbox.namespace import DEFAULT_ENVIRONMENT, SandboxError
from quendal_tools.sandbox.pc import Pc

SHELL = ["bash", "--norc", "--noprofile"]

_NOTE = "running.json"
_PC_NAMESPACES = ["--mount", "--net", "--pid"]
_BOARD_NAMESPACES = [*_PC_NAMESPACES, "--ipc", "--uts"]


def announce(pc: Pc, boards: Iterable[Board]) -> None:
    """Lets others find these boards for as long as they are up."""
    note = {"pc": pc.pid, "boards": [board.pid for board in boards]}
    (pc.directory / _NOTE).write_text(json.dumps(note))


def running_place(pc: bool, number: int = 1) -> int | None:
    """Process 1 of a board of the newest network that this user has announced, or of its PC's side.

    The boards are numbered from 1. None when there is no such network.
    """
    found = []
    for path in pathlib.Path(tempfile.gettempdir()).glob(f"quendal-board-*/{_NOTE}"):
        with contextlib.suppress(OSError, ValueError):
            found.append((path.stat().st_mtime, json.loads(path.read_text())))
    alive = [note for _, note in sorted(found, key=lambda pair: pair[0])
             if pathlib.Path(f"/proc/{note['pc']}").exists()]
    if not alive:
        return None
    boards = alive[-1]["boards"]
    if not 1 <= number <= len(boards):
        raise SandboxError(f"there is no board {number}; {len(boards)} are up")
    return alive[-1]["pc"] if pc else boards[number - 1]


def enter(process: int, words: Sequence[str], pc: bool) -> int:
    """Runs a command beside that process 1, on this terminal; returns its exit status."""
    environment = {**DEFAULT_ENVIRONMENT, "TERM": os.environ.get("TERM", "dumb"), "PS1": "board:\\w# "}
    if pc:
        environment = {**os.environ, "PS1": "pc:\\w# "}
    namespaces = _PC_NAMESPACES if pc else _BOARD_NAMESPACES
    where = os.getcwd() if pc else "/"
    return subprocess.run(
        ["nsenter", "--target", str(process), "--user", "--preserve-credentials", *namespaces, f"--wdns={where}",
         "--", *words], env=environment, check=False).returncode
