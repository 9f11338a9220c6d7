"""The start of a board after a power cut: the kernel mounts what is left on the disk, and the service starts.

What the service has to finish or to take back it does in its start-up, before its tasks begin.
"""

import concurrent.futures
import contextlib
import pathlib
import time

from quendal_tools.board import console
from quendal_tools.power_cuts.disk_board import DiskBoard, SavedState
from quendal_tools.power_cuts.volatile_disk import VolatileDisk

PATIENCE = 200
DISK = "/data"
MOUNT = f"mount /dev/vda {DISK} && mount --bind {DISK}/tmp /tmp"

_POLL_SECONDS = 0.005


def on_board(board: DiskBoard, command: str) -> None:
    """Runs a command that has to succeed."""
    status, output = board.run(command, PATIENCE)
    if status != 0:
        raise OSError(f"{command}: {output}")


def restart(binary: pathlib.Path, booted: SavedState, disk: VolatileDisk) -> int:
    """A start without a cut, which ends with the disk unmounted; returns how many writes the service's start took."""
    with DiskBoard(binary, disk, saved=booted) as board:
        return _start_and_stop(board)


def restart_with_cut(binary: pathlib.Path, booted: SavedState, disk: VolatileDisk, last_write: int) -> None:
    """A start in which the power goes at a write, counted from the service's start; or at its end, if none comes."""
    with DiskBoard(binary, disk, saved=booted) as board, concurrent.futures.ThreadPoolExecutor(1) as thread:
        start = thread.submit(_start_and_stop, board, last_write)
        while not start.done() and not board.power.off.is_set():
            time.sleep(_POLL_SECONDS)
        board.power.cut()
        board.switch_off()
        # What the board does and does not do without its disk means nothing.
        with contextlib.suppress(OSError, AssertionError):
            start.result()


def _start_and_stop(board: DiskBoard, last_write: int | None = None) -> int:
    on_board(board, MOUNT)
    writes_before = board.power.writes
    if last_write is not None:
        board.power.cut_at_write(last_write)
    board.start_service().wait_for(console.WAITING, PATIENCE)
    on_board(board, "systemctl stop Quendal_L && sync")
    writes = board.power.writes - writes_before
    on_board(board, f"umount /tmp {DISK}")
    return writes
