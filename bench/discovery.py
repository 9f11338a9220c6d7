#!/usr/bin/python3
"""What being found costs: many boards on one bridge asked at once, and one board asked again and again.

Everything runs in the sandbox, with all files in memory. Build first:

    cmake --preset release && cmake --build --preset release
    bench/discovery.py
"""

import argparse
import contextlib
import pathlib
import statistics
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools.board import console
from quendal_tools.protocol.discovery import Discovery, Replied
from quendal_tools.sandbox.board import Board
from quendal_tools.sandbox.fleet import Fleet

# A display replies once in 6 whole seconds, and the first time 6 seconds after its start.
SECONDS_BETWEEN_REPLIES = 6.1
SECONDS_FOR_REPLIES = 4
# Until its first datagram a display listens in every other second only, so its first reply can be a second
# late; spread over two seconds, first requests meet both. A later one is late when it meets the second that a
# display pauses before each heartbeat.
BOARDS_IN_TURN = 20
SECONDS_APART = 2 / BOARDS_IN_TURN
MEMORY = "/dev/shm"


def replies(pc, seconds, wanted):
    """One wildcard request: the time of each display's first reply, by its address, in milliseconds.

    Ends at once when as many displays as wanted have replied.
    """
    times: dict[str, float] = {}
    with Discovery(make_socket=pc.socket) as discovery:
        discovery.ask()
        for event in discovery.events(seconds):
            if isinstance(event, Replied):
                times.setdefault(event.source, event.seconds * 1000)
            if len(times) == wanted:
                break
    return times


def many_boards(binary, count, rounds, idle_seconds):
    begin = time.monotonic()
    with Fleet(count, base_dir=MEMORY) as fleet:
        services = fleet.start_services(binary)
        for service in services:
            service.wait_for(console.MULTICAST_RESUMED, timeout=120)
        print(f"{count} boards on one bridge, listening after {time.monotonic() - begin:.1f} s")
        at_rest(services, idle_seconds)
        for number in range(1, rounds + 1):
            time.sleep(SECONDS_BETWEEN_REPLIES)
            times = replies(fleet.pc, SECONDS_FOR_REPLIES, count).values()
            print(f"wildcard request {number}: {len(times)} of {count} replied, {summary(times)}")


def at_rest(services, seconds):
    before = sum(service.cpu_seconds() for service in services)
    time.sleep(seconds)
    use = (sum(service.cpu_seconds() for service in services) - before) / seconds * 100
    resident = [service.rss_kib() for service in services]
    proportional = sum(proportional_kib(service.pid) for service in services)
    print(f"at rest for {seconds} s: {use:.2f} % of a core for all, {use / len(services):.3f} % for one; memory "
          f"{proportional / 1024:.0f} MiB for all with shared pages counted once, at most {max(resident)} KiB "
          "resident for one")


def proportional_kib(pid):
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("Pss:"))


def one_board(binary, boards, rounds):
    """Boards with a network of their own each, asked one after the other: none has to share its reply's time."""
    with contextlib.ExitStack() as stack:
        places = [stack.enter_context(Board(base_dir=MEMORY)) for _ in range(boards)]
        for service in [board.start_service(binary) for board in places]:
            service.wait_for(console.MULTICAST_RESUMED, timeout=60)
        asked_at = dict.fromkeys(places, time.monotonic())
        for number in range(rounds):
            times = []
            for board in places:
                time.sleep(max(0, asked_at[board] + SECONDS_BETWEEN_REPLIES - time.monotonic()))
                times += replies(board.pc, SECONDS_FOR_REPLIES, 1).values()
                asked_at[board] = time.monotonic()
                time.sleep(SECONDS_APART)
            yield number, times


def tell_one_board(binary, boards, rounds):
    later = []
    for number, times in one_board(binary, boards, rounds):
        if number == 0:
            print(f"one board, its first request: {len(times)} of {boards} replied, {summary(times)}")
        else:
            later += times
    print(f"one board, later requests: {len(later)} of {boards * (rounds - 1)} replied, {summary(later)}")


def summary(times):
    if not times:
        return "no times"
    ordered = sorted(times)
    return (f"median {statistics.median(ordered):.2f} ms, 95 % within {ordered[int(len(ordered) * 0.95)]:.2f} ms, "
            f"worst {ordered[-1]:.2f} ms")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=ROOT / "build/release", type=pathlib.Path, help="build directory")
    parser.add_argument("--boards", default=100, type=int, help="boards on the one bridge (default: 100)")
    parser.add_argument("--rounds", default=5, type=int, help="wildcard requests to all of them (default: 5)")
    parser.add_argument("--idle-seconds", default=30, type=int, help="how long to watch them idle (default: 30)")
    parser.add_argument("--samples", default=200, type=int,
                        help=f"requests to single boards, {BOARDS_IN_TURN} of which take turns (default: 200)")
    given = parser.parse_args()

    binary = given.build / "Quendal_L"
    many_boards(binary, given.boards, given.rounds, given.idle_seconds)
    # Each board's first request counts apart from the samples.
    tell_one_board(binary, BOARDS_IN_TURN, 1 + -(-given.samples // BOARDS_IN_TURN))


if __name__ == "__main__":
    main()
