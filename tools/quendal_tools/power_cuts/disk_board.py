"""An emulated board with a disk that outlives it; its state can be saved, and other boards go on from there.

A saved state is the whole machine, frozen, without its disk. Whoever goes on from it has to give it a disk that fits:
a copy of the one it had then, or any other as long as it had mounted none.
"""

import dataclasses
import os
import pathlib
import subprocess
from collections.abc import Mapping
from typing import Any

from quendal_tools.board.waiting import wait_until
from quendal_tools.emulator.board import EmulatedBoard
from quendal_tools.power_cuts.nbd_server import NbdServer
from quendal_tools.power_cuts.volatile_disk import VolatileDisk

_STATE_TIMEOUT = 120
_COMPLETE = "\tRXCOMPLETE\n"


@dataclasses.dataclass(frozen=True)
class SavedState:
    """A directory with a machine's memory and the file system it was started from, which QEMU measures anew."""

    directory: pathlib.Path

    @property
    def memory(self) -> pathlib.Path:
        return self.directory / "memory"

    @property
    def initramfs(self) -> pathlib.Path:
        return self.directory / "initramfs"


class DiskBoard(EmulatedBoard):
    """A board with a VolatileDisk as /dev/vda; power is the cable between them.

    saved  the SavedState to go on from, instead of booting; what it has said before is not told again
    """

    power: NbdServer

    def __init__(self, binary: str | pathlib.Path, disk: VolatileDisk, *, saved: SavedState | None = None,
                 **options: Any) -> None:
        self._disk = disk
        self._saved = saved
        super().__init__(binary, **options)

    def switch_off(self) -> None:
        """The board is off from now on, in whatever state its disk is; close() is still needed."""
        self._stop_qemu()

    def save(self, directory: str | pathlib.Path) -> SavedState:
        """Freezes the board and writes its state to a new directory; resume() lets it go on."""
        saved = SavedState(pathlib.Path(directory))
        saved.directory.mkdir()
        os.link(self._output("initramfs"), saved.initramfs)
        self._qmp.command("stop")
        self._qmp.command("migrate", uri=f"exec:cat >{saved.memory}")
        self._await_state()
        return saved

    def resume(self) -> None:
        self._qmp.command("cont")

    def completed(self) -> bool:
        """Has the display been woken by RXCOMPLETE since the start, or since the saved state?"""
        return _COMPLETE in self._output("display").read_text()

    def service_text(self) -> str:
        """What the service has said since the start, or since the saved state."""
        return self._output("errors").read_text(errors="replace")

    def _write_system(self, binary: pathlib.Path, files: Mapping[str, str | bytes]) -> None:
        if self._saved:
            os.link(self._saved.initramfs, self._output("initramfs"))
        else:
            super()._write_system(binary, files)

    def _qemu_command(self) -> list[str | pathlib.Path]:
        command = super()._qemu_command() + [
            "-blockdev", f"driver=nbd,node-name=disk,server.type=unix,server.path={self.power.path}",
            "-device", "virtio-blk-pci,drive=disk"]
        return [*command, "-incoming", "defer"] if self._saved else command

    def _start_qemu(self) -> None:
        self.power = NbdServer(self._disk, self._output("disk"))
        self._closing.callback(self.power.close)
        super()._start_qemu()
        if self._saved:
            # Not before the command port is connected: a guest that finds nobody there gives the port up.
            self._qmp.command("migrate-incoming", uri=f"exec:cat {self._saved.memory}")
            self._await_state()
            self.resume()

    def _await_state(self) -> None:
        def status() -> bool:
            now = self._qmp.command("query-migrate").get("status")
            if now == "failed":
                raise OSError("QEMU cannot save or load the board's state")
            return now == "completed"

        wait_until(status, _STATE_TIMEOUT, "the board's state")


def make_file_system(image: pathlib.Path, mebibytes: int) -> None:
    """A new image with an empty ext4; its tables are written now, where a board would do so in the background."""
    with open(image, "xb") as file:
        file.truncate(mebibytes << 20)
    subprocess.run(["mkfs.ext4", "-q", "-E", "lazy_itable_init=0,lazy_journal_init=0", image], check=True)
