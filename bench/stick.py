#!/usr/bin/python3
"""What distributing a stick's files costs, beside "cp -r" of the same files and as many "sync" calls.

On an emulated board, with a real USB stick, a real sudo and the board's own clock; service and cp in turn,
each with nothing of the stick in memory. The service has to sync by "sudo sync" in a shell of its own after
each file, so the calls are timed in that form as well as bare: starting these programs is most of the time. An
emulated processor is slow, so only the ratios tell. Build first:

    cmake --preset release -DQUENDAL_TESTS=ON && cmake --build --preset release
    tools/emulator/prepare && bench/stick.py
"""

import argparse
import pathlib
import random
import re
import statistics
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools.board import stick_console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import LIST_NAME, NUMBERS
from quendal_tools.emulator.board import EmulatedBoard
from quendal_tools.protocol.control_files import STOP_MARKER
from quendal_tools.stick import media
from quendal_tools.stick.image import StickImage

FOLDER = f"KVCFG/{NUMBERS}"
MOUNTED = f"/data/home/sda1/{FOLDER}"
MARKER = f"{TARGET}/{STOP_MARKER}"
COPIES = "/data/app/copies"
MEMORY_MIB = 1024  # the target directory is in it
PATIENCE = 900
SYNCS = ("sync", "sh -c 'sudo sync'")
FIRST_FILE = re.compile(r"\n(\d+):(\d+):(\d+)\.(\d+) Copying \[1 of ")


def make_stick(directory, count, size):
    """A stick whose list names only the files: no announcement, and so no wait between list and files."""
    names = [f"file{number:04d}.bin" for number in range(count)]
    for number, name in enumerate(names):
        (directory / name).write_bytes(random.Random(number).randbytes(size))
    file_list = ";".join(f"#0#{name}" for name in names)
    (directory / LIST_NAME).write_text(f"[new_local_dist_task]\nfileList = {file_list}\n")
    files = sorted(directory.iterdir())
    path = directory / "stick.img"
    image = media.new_image(path, count * size // (1 << 20) + 32)
    image.make_folder("KVCFG")
    image.make_folder(FOLDER)
    image.add(FOLDER, files)
    return StickImage(path)


def on_board(board, command):
    status, output = board.run(command, PATIENCE)
    if status != 0:
        raise RuntimeError(f"{command}: {output}")
    return output


def seconds_of(board, command):
    """How long a command takes, by the board's clock."""
    begin, end = on_board(board, f"date +%s.%N; {{ {command}; }} >/dev/null && date +%s.%N").split()
    return float(end) - float(begin)


def forget(board):
    on_board(board, f"rm -rf {COPIES} {TARGET}/*; sync; echo 3 >/proc/sys/vm/drop_caches")


def distribute(board, service, stick):
    """Seconds from the first file's report to the stop marker, which follows the last file's sync.

    The stick stays plugged.
    """
    forget(board)
    mark = service.mark()
    board.plug(stick)
    service.wait_for(stick_console.FINISHED, PATIENCE, after=mark)
    board.run(f"until test -e {MARKER}; do sleep 0.1; done", PATIENCE)
    hours, minutes, seconds, milliseconds = map(int, FIRST_FILE.findall(service.stderr_text(), mark)[0])
    begin = hours * 3600 + minutes * 60 + seconds + milliseconds / 1000
    return (float(on_board(board, f"stat --format %.Y {MARKER}")) - begin) % 86400


def copy(board, count):
    """Seconds of cp -r with the sync calls after it, for each form of these."""
    forget(board)
    copying = seconds_of(board, f"cp -r {MOUNTED} {COPIES}")
    return [copying + seconds_of(board, f"for n in $(seq {count}); do {sync}; done") for sync in SYNCS]


def check(board, count):
    """Are all files there as they are on the stick?"""
    sums = on_board(board, f"cd {MOUNTED} && sha256sum *.bin | tee /run/sums | wc -l")
    if int(sums) != count:
        raise RuntimeError(f"{count} files were put on the stick, and it holds {sums}")
    on_board(board, f"cd {TARGET} && sha256sum --check --quiet /run/sums")


def compare(board, service, stick, count, rounds):
    ratios = []
    for number in range(1, rounds + 1):
        own = distribute(board, service, stick)
        check(board, count)
        peers = copy(board, count)
        mark = service.mark()
        board.unplug()
        service.wait_for(stick_console.releasing(""), PATIENCE, after=mark)
        ratios.append([own / peer for peer in peers])
        print(f"round {number}: service {own:.1f} s", flush=True)
        for sync, peer, ratio in zip(SYNCS, peers, ratios[-1]):
            print(f"  cp -r and {count} times {sync}: {peer:.1f} s, ratio {ratio:.2f}", flush=True)
    for sync, column in zip(SYNCS, zip(*ratios)):
        print(f"ratio to cp -r with {sync}, median of {rounds}: {statistics.median(column):.2f}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=ROOT / "build/release", type=pathlib.Path, help="build directory")
    parser.add_argument("--files", default=500, type=int, help="files on the stick (default: 500)")
    parser.add_argument("--kibibytes", default=256, type=int, help="size of each (default: 256)")
    parser.add_argument("--rounds", default=3, type=int, help="pairs of runs (default: 3)")
    given = parser.parse_args()

    print(f"{given.files} files of {given.kibibytes} KiB, service and cp in turn on one emulated board")
    with tempfile.TemporaryDirectory() as directory, EmulatedBoard(
            given.build / "Quendal_L", mebibytes=MEMORY_MIB) as board:
        stick = make_stick(pathlib.Path(directory), given.files, given.kibibytes * 1024)
        service = board.start_service()
        board.display.wait_for("NETW_UP", timeout=PATIENCE)
        compare(board, service, stick, given.files, given.rounds)


if __name__ == "__main__":
    main()
