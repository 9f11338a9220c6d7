#!/usr/bin/python3
"""What a distribution to many displays takes: beside one stream of the same bytes, one display after the other, and
with displays that stall, are away or fail half-way; many sends in a row; many displays watched.

Everything runs in the sandbox, with all files in memory, behind a bridge that is limited by tc. Build first:

    cmake --preset release && cmake --build --preset release
    bench/distribution.py together            # or: trouble, row, watch
"""

import argparse
import contextlib
import json
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.distribution.delivery import Manner
from quendal_tools.distribution.package import Framing, gather
from quendal_tools.distribution.run import Distribution
from quendal_tools.distribution.selection import Target
from quendal_tools.sandbox.fleet import Fleet

MEMORY = "/dev/shm"
MIB = 1 << 20
STALLED, AWAY, FAILING = 5, 5, 2


class Desk:
    """A fleet with its services running, and a transmitter on the PC's side of a bridge of that rate."""

    def __init__(self, stack, given, count, folder):
        self.folder = folder
        self.fleet = stack.enter_context(Fleet(count, base_dir=MEMORY))
        self.services = self.fleet.start_services(given.build / "Quendal_L")
        for service in self.services:
            service.wait_for(console.OPEN, timeout=120)
        if given.rate:
            self.fleet.pc.run(["tc", "qdisc", "add", "dev", "br0", "root", "tbf", "rate", given.rate,
                               "burst", "1mb", "latency", "50ms"], check=True)
        self.addresses = [board.address for board in self.fleet.boards]
        print(f"{count} boards, bridge limited to {given.rate or 'nothing'}")

    def send(self, name, *words):
        """The run's file, as a dictionary."""
        path = self.folder / f"{name}.json"
        done = self.fleet.pc.run([ROOT / "tools/transmitter", "send", "--run-file", path, *words], timeout=3600)
        run = json.loads(path.read_text())
        line = max((attempt["begin"] + attempt["sending"] - run["begin"] for display in run["displays"]
                    for attempt in display["attempts"] if display["state"] == "stored"), default=0)
        size = sum(attempt["bytes"] for display in run["displays"] for attempt in display["attempts"])
        print(f"{name}: {run['stored']} of {run['displays_in_all']} stored, status {done.returncode}; last byte to "
              f"those after {line:.2f} s, all over after {run['seconds']:.2f} s; {size / MIB:.0f} MiB, "
              f"{size / max(line, 0.01) / 1e6:.1f} MB/s until then")
        return run, line

    def verify(self, package, boards):
        """Which of these boards hold all files as they were sent."""
        names = sorted(path.name for path in package.iterdir())
        good = [board for board in boards if all(
            same(package / name, board.path(f"{TARGET}/{name}")) for name in names)]
        print(f"    {len(good)} of {len(boards)} boards hold all {len(names)} files byte for byte")


def same(one, other):
    return other.exists() and one.read_bytes() == other.read_bytes()


def make_package(folder, files, size):
    folder.mkdir()
    for number in range(files):
        (folder / f"file{number:04}.bin").write_bytes(random.Random(number).randbytes(size // files))
    return folder


def together(stack, given, folder):
    """All at once, beside one stream of the same bytes and the same on one after the other."""
    desk = Desk(stack, given, given.boards, folder)
    package = make_package(folder / "package", given.files, given.mebibytes * MIB)
    whole = make_package(folder / "whole", given.boards, given.boards * given.mebibytes * MIB)
    _, one_line = desk.send("one stream", "--to", desk.addresses[0], whole)
    one = last_run(folder, "one stream")["seconds"]
    for path in whole.iterdir():
        desk.fleet.boards[0].path(f"{TARGET}/{path.name}").unlink()
    run, line = desk.send("together", "--to", ",".join(desk.addresses), "--jobs", str(given.jobs), package)
    desk.verify(package, desk.fleet.boards)
    print(f"together / one stream: {line / one_line:.3f} to the last byte, {run['seconds'] / one:.3f} to the last "
          "receipt")
    few = desk.addresses[:given.in_turn]
    seconds = sum(desk.send(f"alone {address}", "--to", address, package)[0]["seconds"] for address in few) / len(few)
    print(f"one after the other: {seconds:.2f} s each, so {seconds * given.boards:.0f} s for all, "
          f"{seconds * given.boards / run['seconds']:.1f} times as long as together")


def last_run(folder, name):
    return json.loads((folder / f"{name}.json").read_text())


def trouble(stack, given, folder):
    """Some stall, some are away, some are full half-way; then they come back."""
    desk = Desk(stack, given, given.boards - AWAY, folder)
    package = make_package(folder / "package", given.files, given.mebibytes * MIB)
    away = [f"192.168.77.{254 - number}" for number in range(AWAY)]
    stalled, failing = desk.services[:STALLED], desk.fleet.boards[STALLED:STALLED + FAILING]
    healthy = desk.fleet.boards[STALLED + FAILING:]
    for service in stalled:
        service.send_signal(signal.SIGSTOP)
    for board in failing:
        board.run(["mount", "-t", "tmpfs", "-o", f"size={given.mebibytes // 2}m", "tmpfs", TARGET], check=True)
    run, _ = desk.send("healthy alone", "--to", ",".join(board.address for board in healthy), package)
    alone = run["seconds"]
    run, _ = desk.send("with trouble", "--to", ",".join([*away, *desk.addresses]), package)
    ends = [display["attempts"][-1]["begin"] + display["attempts"][-1]["seconds"] - run["begin"]
            for display in run["displays"] if display["state"] == "stored"]
    print(f"    the healthy ones were done after {max(ends):.2f} s, without the others after {alone:.2f} s")
    for display in run["displays"]:
        if display["state"] != "stored":
            print(f"    {display['address']}: {len(display['attempts'])} tries, {display['reason']}")
    for service in stalled:
        service.send_signal(signal.SIGCONT)
    for board in failing:
        board.run(["umount", TARGET], check=True)
    marks = [service.mark() for service in desk.services]
    desk.send("again", "--again", folder / "with trouble.json")
    desk.verify(package, desk.fleet.boards)
    twice = sum("Connection from" in service.stderr_text()[mark:]
                for service, mark in zip(desk.services[STALLED + FAILING:], marks[STALLED + FAILING:]))
    print(f"    {twice} of the {len(healthy)} that had it were connected to again")


def row(stack, given, folder):
    """One after the other to one board, as fast as it goes."""
    desk = Desk(stack, given, 1, folder)
    manner = Manner(DATA_PORT, make_socket=desk.fleet.pc.socket)
    begin, attempts, stored = time.monotonic(), 0, 0
    for number in range(given.sends):
        path = folder / f"send{number}.bin"
        path.write_bytes(random.Random(number).randbytes(10_000))
        package = gather([path], Framing(no_list_file=True, no_stop_marker=True))
        with Distribution(package, [Target(desk.addresses[0])], manner) as distribution:
            while not distribution.look():
                time.sleep(0.005)
        stored += distribution.run.all_stored
        attempts += len(distribution.run.deliveries[0].attempts)
    arrived = sum(same(folder / f"send{number}.bin", desk.fleet.boards[0].path(f"{TARGET}/send{number}.bin"))
                  for number in range(given.sends))
    print(f"{given.sends} sends in {time.monotonic() - begin:.0f} s: {stored} receipts, {arrived} arrived, "
          f"{attempts - given.sends} tries more than one")


def watch(stack, given, folder):
    """Everybody is seen; one is pulled."""
    desk = Desk(stack, given, given.boards, folder)
    process = desk.fleet.pc.popen([ROOT / "tools/transmitter", "watch", "--json"], stdout=subprocess.PIPE)
    begin, false = time.monotonic(), 0
    seen: set[str] = set()
    while len(seen) < given.boards:
        event = json.loads(process.stdout.readline())
        seen.add(event["address"])
        false += event["event"] == "silent"
    print(f"{len(seen)} displays seen after {time.monotonic() - begin:.1f} s")
    time.sleep(given.quiet_seconds)
    pulled = desk.fleet.boards[given.boards // 2]
    pulled.cable(up=False)
    pulled_at = time.time()
    while True:
        event = json.loads(process.stdout.readline())
        if event["event"] == "silent" and event["time"] > pulled_at:
            break
        false += event["event"] == "silent"
    print(f"{event['address']} (pulled: {pulled.address}) is silent after {event['time'] - pulled_at:.1f} s; {false} "
          f"wrong alarms in {given.quiet_seconds} s before")
    process.terminate()
    process.wait(10)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    scenes = {scene.__name__: scene for scene in (together, trouble, row, watch)}
    parser.add_argument("scene", choices=scenes)
    parser.add_argument("--build", default=ROOT / "build/release", type=pathlib.Path, help="build directory")
    parser.add_argument("--boards", default=100, type=int, help="boards on the one bridge (%(default)s)")
    parser.add_argument("--rate", default="1gbit", help="what tc lets through the bridge; empty for all (%(default)s)")
    parser.add_argument("--files", default=20, type=int, help="files for each board (%(default)s)")
    parser.add_argument("--mebibytes", default=16, type=int, help="their size together (%(default)s)")
    parser.add_argument("--jobs", default=16, type=int, help="sent to so many at once (%(default)s)")
    parser.add_argument("--in-turn", default=5, type=int, help="boards that are sent to one by one (%(default)s)")
    parser.add_argument("--sends", default=1000, type=int, help="sends in a row (%(default)s)")
    parser.add_argument("--quiet-seconds", default=60, type=int, help="how long all is well (%(default)s)")
    given = parser.parse_args()
    with contextlib.ExitStack() as stack:
        folder = pathlib.Path(stack.enter_context(tempfile.TemporaryDirectory(dir=MEMORY)))
        scenes[given.scene](stack, given, folder)


if __name__ == "__main__":
    main()
