"""Cuts the power of emulated boards in the middle of a transfer, and looks at what is on their disks afterwards.

Two states of one board are saved: "booted", and "ready", in which the old files are stored and safe and the
service waits for the new ones. Each cut goes on from "ready" with a copy of its disk; what is left on that
is judged when a board has started with it, which goes on from "booted".
"""

import contextlib
import dataclasses
import pathlib
import random
import shutil
import subprocess
import time
from collections.abc import Iterator

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.emulator.board import EmulatorUnavailable
from quendal_tools.power_cuts import plan
from quendal_tools.power_cuts.disk_board import DiskBoard, make_file_system
from quendal_tools.power_cuts.payload import Payload
from quendal_tools.power_cuts.remains import Remains, look
from quendal_tools.power_cuts.restart import DISK, MOUNT, PATIENCE, on_board, restart, restart_with_cut
from quendal_tools.power_cuts.transfer import Transfer, send
from quendal_tools.power_cuts.volatile_disk import VolatileDisk
from quendal_tools.protocol.sending import Transmitter

_MEBIBYTES = 1024
# All that is below /data moves to the disk, and so does the temporary directory, with the service's Dest.
_MOVE_IN = ("mkdir /mnt && mount /dev/vda /mnt && "
            f"cp -a {DISK}/. /mnt && mkdir -m 1777 /mnt/tmp && umount /mnt && {MOUNT}")
_POLL_SECONDS = 0.005
_PROGRAMS = ("mkfs.ext4", "e2fsck", "debugfs")


@dataclasses.dataclass(frozen=True)
class Outcome:
    """One cut and what it has left."""

    cut: plan.Cut
    since_start: float
    since_completed: float | None  # None: the cut came before RXCOMPLETE
    unflushed: int  # writes that the disk had not flushed, and how many of them have not arrived whole
    lost: int
    remains: Remains
    remains_cut_again: Remains | None  # when the start that followed was cut, too; None: it was not

    def verdict(self, mode: str) -> bool | None:
        """Is what the mode promises kept? None when it promises nothing for this cut."""
        verdicts = [plan.holds(mode, self.since_completed is not None, remains.states)
                    for remains in (self.remains, self.remains_cut_again) if remains]
        return None if None in verdicts else all(verdicts)


def _check_programs() -> None:
    missing = [program for program in _PROGRAMS if not shutil.which(program)]
    if missing:
        raise EmulatorUnavailable(f"The disk needs {', '.join(missing)}, of the package e2fsprogs.")


class PowerCutRig:
    """Boards on which the power is cut; cut() may be called from several threads.

    payload             what is sent: the old files before the cuts, the new ones in each
    directory           an empty one, for what is kept in between
    seconds_afterwards  for how long after RXCOMPLETE there are cuts
    end                 what ends a transfer that is cut, of plan.ENDS
    keep                a directory for the disks of broken cuts, as the power has left them; or None
    """

    def __init__(self, binary: pathlib.Path, mode: str, payload: Payload, directory: str | pathlib.Path, *,
                 seconds_afterwards: float, end: str = "stop", keep: pathlib.Path | None = None) -> None:
        _check_programs()
        self._binary = binary
        self._mode = mode
        self._payload = payload
        self._end = plan.ENDS[end]
        self._directory = pathlib.Path(directory)
        self._keep = keep
        self._ready_image = self._directory / "ready.img"
        make_file_system(self._ready_image, _MEBIBYTES)
        with VolatileDisk(self._ready_image) as disk:
            self._prepare(disk)
        self.course = self._rehearse(seconds_afterwards)

    def cut(self, cut: plan.Cut, chance: random.Random) -> Outcome:
        """Cuts the power as planned, and looks."""
        with self._copy_of(self._ready_image, f"cut-{cut.number}.img") as image:
            with VolatileDisk(image) as disk:
                since_start, since_completed = self._transfer(disk, cut)
                unflushed, lost = disk.lose_power(chance)
            remains, writes = self._restart(image)
            remains_cut_again = None
            if self._mode == plan.STAGED and writes:
                remains_cut_again = self._restart_twice(image, chance.randint(1, writes), chance)
            outcome = Outcome(cut, since_start, since_completed, unflushed, lost, remains, remains_cut_again)
            if self._keep and outcome.verdict(self._mode) is False:
                _copy(image, self._keep / image.name)
        return outcome

    def _prepare(self, disk: VolatileDisk) -> None:
        ini = {} if self._mode == plan.DIRECT else {"storeMode": self._mode}
        with DiskBoard(self._binary, disk, ini=ini) as board:
            self._booted = board.save(self._directory / "booted")
            board.resume()
            on_board(board, _MOVE_IN)
            service = board.start_service()
            end = service.wait_for(console.OPEN, PATIENCE)
            with Transmitter(lambda: board.connect(PATIENCE)) as transmitter:
                send(transmitter, self._payload.old)
                wait_until(board.completed, PATIENCE, "RXCOMPLETE")
            service.wait_for(console.OPEN, PATIENCE, after=end)
            on_board(board, "sync")
            self._ready = board.save(self._directory / "ready")

    def _rehearse(self, seconds_afterwards: float) -> plan.Course:
        """The course of a transfer whose files are brought to the disk in time; they must all be there."""
        with self._copy_of(self._ready_image, "rehearsal.img") as image:
            with VolatileDisk(image) as disk, DiskBoard(self._binary, disk, saved=self._ready) as board:
                with Transfer(board, self._payload.new, self._end) as transfer:
                    wait_until(lambda: transfer.look() and transfer.ending, PATIENCE, "the end of the transfer")
                    early_writes = board.power.writes
                    wait_until(lambda: transfer.look()[1] is not None, PATIENCE, "RXCOMPLETE")
                    seconds, _ = transfer.look()
                    time.sleep(seconds_afterwards)
                    writes = board.power.writes
                    if self._end == plan.REBOOT_FILE:
                        board.wait_for_reboot(PATIENCE)
                    else:
                        on_board(board, "sync")
            remains, _ = self._restart(image)
        if not plan.holds(plan.DIRECT, True, remains.states):
            raise OSError(f"even when the disk has all the time it needs, a transfer leaves {remains}")
        return plan.Course(seconds, seconds_afterwards, writes, writes - early_writes)

    def _transfer(self, disk: VolatileDisk, cut: plan.Cut) -> tuple[float, float | None]:
        """Sends the new files until the cut; returns how long after the start and after RXCOMPLETE it came."""
        with DiskBoard(self._binary, disk, saved=self._ready) as board:
            with Transfer(board, self._payload.new, self._end) as transfer:
                awaits_end = cut.kind == plan.LATE_WRITE
                if cut.kind == plan.WRITE:
                    board.power.cut_at_write(int(cut.amount))
                while not board.power.off.is_set():
                    times = transfer.look()
                    if times[0] > PATIENCE:
                        raise TimeoutError(f"{cut}: it has not come; the service has said:\n{board.service_text()}")
                    if cut.is_due(*times):
                        board.power.cut()
                    elif awaits_end and transfer.ending:
                        board.power.cut_at_write(int(cut.amount))
                        awaits_end = False
                    time.sleep(_POLL_SECONDS)
                # The board may run on, but it tells the display nothing that rests on what the disk does not do.
                return transfer.look()

    def _restart(self, image: pathlib.Path) -> tuple[Remains, int]:
        """What is left once a board has started with a copy of an image, and how many writes that took."""
        with self._copy_of(image, f"restart-{image.name}") as copy:
            with VolatileDisk(copy) as disk:
                writes = restart(self._binary, self._booted, disk)
            return look(copy, self._payload), writes

    def _restart_twice(self, image: pathlib.Path, last_write: int, chance: random.Random) -> Remains:
        with self._copy_of(image, f"again-{image.name}") as copy:
            with VolatileDisk(copy) as disk:
                restart_with_cut(self._binary, self._booted, disk, last_write)
                disk.lose_power(chance)
            return self._restart(copy)[0]

    @contextlib.contextmanager
    def _copy_of(self, image: pathlib.Path, name: str) -> Iterator[pathlib.Path]:
        copy = self._directory / name
        _copy(image, copy)
        try:
            yield copy
        finally:
            copy.unlink()


def _copy(image: pathlib.Path, copy: pathlib.Path) -> None:
    subprocess.run(["cp", "--sparse=always", image, copy], check=True)
