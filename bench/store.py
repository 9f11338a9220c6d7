#!/usr/bin/python3
"""What storing a transfer costs on ext4: one big file, many small ones, and some in between, binary beside binary.

Everything runs in the sandbox on a real veth pair. The boards' files lie on an ext4 of their own: an image below
build/, mounted where only this program sees it, or, for whoever may not mount one, the file system of build/. The
binaries take turns in every round, fed by the same sender; a mode is the value of their key storeMode. A transfer
is timed until the receiving system has acknowledged its last byte, and until RXCOMPLETE, less the wait of 5 s before
that.

    cmake --preset release && cmake --build --preset release
    bench/store.py --binary before=build/before/Quendal_L --binary after=build/release/Quendal_L
    bench/store.py --binary direct=build/release/Quendal_L --binary staged=build/release/Quendal_L,staged
"""

import argparse
import contextlib
import dataclasses
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from quendal_tools.protocol.sending import Transmitter
from quendal_tools.sandbox import kernel
from quendal_tools.sandbox.board import Board

IMAGE_MEBIBYTES = 4096
PATIENCE = 120
# The service waits so long between the stop marker and RXCOMPLETE, whatever it does meanwhile.
WAIT_SECONDS = 5
MIB = 1 << 20
PIECE = os.urandom(MIB)


@dataclasses.dataclass(frozen=True)
class Case:
    title: str
    count: int
    size: int

    @property
    def names(self):
        return [f"file{number:05d}.bin" for number in range(self.count)]


CASES = (
    Case("1 file of 512 MiB", 1, 512 * MIB),
    Case("5,000 files of 4 KiB", 5000, 4096),
    Case("500 files of 256 KiB", 500, 256 * 1024),
)


@dataclasses.dataclass(frozen=True)
class Times:
    """Seconds from the first byte of a transfer."""

    acknowledged: float  # until the receiving system has every byte of the files, part of it in its buffers
    completed: float  # until RXCOMPLETE, without the wait that precedes it


class Contestant:
    """A binary on a board of its own, with a connection that stays open."""

    def __init__(self, stack, name, binary, mode, directory):
        self.name = name
        ini = {"storeMode": mode} if mode else {}
        self._board = stack.enter_context(Board(base_dir=directory, ini=ini))
        self._target = self._board.path(TARGET)
        self._display = self._board.display()
        service = self._board.start_service(binary, env=self._display.env)
        service.wait_for(console.OPEN, timeout=PATIENCE)
        self._transmitter = stack.enter_context(Transmitter(lambda: self._board.pc.connect(DATA_PORT)))
        self._runs = 0

    def run(self, case):
        """One transfer into an empty directory, with nothing left to be written from the one before."""
        for path in self._target.iterdir():
            path.unlink()
        subprocess.run(["sync", "--file-system", self._target], check=True)
        self._runs += 1
        begun = time.time()  # as the display's clock
        self._transmitter.begin(case.names)
        for name in case.names:
            self._send_file(name, case.size)
        self._transmitter.await_acknowledged()
        acknowledged = time.time() - begun
        self._transmitter.end()
        completed = self._display.wait_for("RXCOMPLETE", self._runs, timeout=PATIENCE) - begun - WAIT_SECONDS
        stored = [path.stat().st_size for path in self._target.glob("file*.bin")]
        if stored != [case.size] * case.count:
            raise RuntimeError(f"{self.name} has stored {len(stored)} files with {sum(stored)} bytes")
        return Times(acknowledged, completed)

    def _send_file(self, name, size):
        connection = self._transmitter.connection
        head = packet.file_head(name, size)
        if size <= MIB:
            connection.sendall(head + PIECE[:size])
            return
        connection.sendall(head)
        for _ in range(size // MIB):
            connection.sendall(PIECE)


@contextlib.contextmanager
def ext4_directory():
    """A directory on an ext4 of its own, which is gone with this program; else one below build/."""
    (ROOT / "build").mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(dir=ROOT / "build", prefix="store-") as directory:
        place = pathlib.Path(directory, "files")
        place.mkdir()
        try:
            mount_image(pathlib.Path(directory, "image"), place)
        except (OSError, subprocess.CalledProcessError):
            kind = subprocess.check_output(["stat", "--file-system", "--format=%T", place], text=True).strip()
            print(f"No image can be mounted here: the files go to the file system of build/ ({kind}).")
            yield place
            return
        print("The files go to an ext4 of their own, on an image below build/.")
        try:
            yield place
        finally:
            subprocess.run(["umount", place], check=True)


def mount_image(image, place):
    kernel.unshare(kernel.CLONE_NEWNS)
    kernel.mount(None, "/", None, kernel.MS_REC | kernel.MS_PRIVATE)
    with open(image, "xb") as file:
        file.truncate(IMAGE_MEBIBYTES * MIB)
    subprocess.run(["mkfs.ext4", "-q", "-E", "lazy_itable_init=0,lazy_journal_init=0", image],
                   check=True, capture_output=True)
    subprocess.run(["mount", "-o", "loop", image, place], check=True, capture_output=True)


def compare(case, contestants, rounds):
    """Runs a case; the order changes from round to round, so that whatever hangs on it is shared out."""
    times: dict[str, list[Times]] = {contestant.name: [] for contestant in contestants}
    for contestant in contestants:
        contestant.run(case)  # the first takes places on the disk that the others find made
    for number in range(rounds):
        for contestant in contestants[::-1] if number % 2 else contestants:
            times[contestant.name].append(contestant.run(case))
    print(f"\n{case.title}, median of {rounds}:")
    first = times[contestants[0].name]
    for name, own in times.items():
        acknowledged = statistics.median(run.acknowledged for run in own)
        completed = statistics.median(run.completed for run in own)
        rates = f"{case.count * case.size / acknowledged / 1e6:.0f} MB/s, {case.count / acknowledged:.0f} files/s"
        print(f"  {name}: acknowledged after {acknowledged:.3f} s ({rates}), RXCOMPLETE after {completed:.3f} s",
              flush=True)
        if own is not first:
            print(f"    time beside {contestants[0].name}, median of the pairs: {ratio(own, first, 'acknowledged')}, "
                  f"to RXCOMPLETE {ratio(own, first, 'completed')}", flush=True)


def ratio(own, others, field):
    """The median of the ratios of pairs, of the same round each."""
    return f"{statistics.median(getattr(one, field) / getattr(other, field) for one, other in zip(own, others)):.2f}"


def named_binary(text):
    """NAME=PATH or NAME=PATH,MODE."""
    name, equals, rest = text.partition("=")
    path, _, mode = rest.partition(",")
    if not (name and equals and pathlib.Path(path).is_file()):
        raise argparse.ArgumentTypeError(f"{text} is not NAME=PATH or NAME=PATH,MODE with the path of a binary")
    return name, pathlib.Path(path).resolve(), mode


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--binary", action="append", type=named_binary, metavar="NAME=PATH[,MODE]",
                        help="a contestant; several times (default: the release build alone)")
    parser.add_argument("--rounds", default=6, type=int, help="timed runs of each; best an even number (default: 6)")
    given = parser.parse_args()

    binaries = given.binary or [named_binary(f"service={ROOT / 'build/release/Quendal_L'}")]
    with ext4_directory() as directory, contextlib.ExitStack() as stack:
        contestants = [Contestant(stack, name, path, mode, directory) for name, path, mode in binaries]
        for case in CASES:
            compare(case, contestants, given.rounds)


if __name__ == "__main__":
    main()
