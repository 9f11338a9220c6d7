#!/usr/bin/python3
"""What the video watch counts and costs: packets counted against packets sent, beside tcpdump.

Everything runs in the sandbox on a real veth pair. For each rate, the capture of the service and a
tcpdump with the same filter and snap length watch the same stream at the same time. Before that, the
sender runs without any capture and with the service's alone: the kernel copies the packets for a
capture in the sender's time there, so the difference is that part of the cost. Needs root, which
tcpdump wants to be. Build first:

    cmake --preset release -DQUENDAL_BENCH=ON && cmake --build --preset release
    bench/video.py
"""

import argparse
import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools.board.layout import BIN
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import VIDEO_GROUP
from quendal_tools.sandbox.board import Board

FILTER = f"(ip multicast) and (dst {VIDEO_GROUP})"
DATAGRAM = 1316
HAND_OVER = 2  # seconds after which the kernel has handed every packet over


def processor_seconds(process):
    """User and system time of all threads, in nanoseconds' resolution."""
    tasks = pathlib.Path(f"/proc/{process.pid}/task").iterdir()
    return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks) / 1e9


class Capture:
    """A capture on the board: the process that start(file) begins, and its words in the file."""

    def __init__(self, board, name, start, started):
        self.output = board.directory / name
        with self.output.open("wb") as file:
            self.process = start(file)
        wait_until(lambda: started in self.text(), 10, started)
        time.sleep(0.5)  # the filter comes into force a moment after the message
        self.before = processor_seconds(self.process)

    def text(self):
        return self.output.read_text()

    def use(self):
        """Processor seconds since the start."""
        return processor_seconds(self.process) - self.before

    def end(self, number):
        self.process.send_signal(number)
        self.process.wait(10)
        return self.text()


def our_capture(board):
    argv = [f"{BIN}/video_capture_bench", "eth0", VIDEO_GROUP]
    return Capture(board, "ours", lambda file: board.popen(argv, stdout=file, stderr=file), "handle ether")


def tcpdump(board):
    # From outside: it changes its user even to the one it has, which the board does not allow.
    argv = ["nsenter", f"--net=/proc/{board.pid}/ns/net",
            "tcpdump", "-Z", "root", "-i", "eth0", "-s", "500", "-w", "-", FILTER]
    return Capture(board, "tcpdump", lambda file: subprocess.Popen(argv, stdout=subprocess.DEVNULL, stderr=file),
                   "listening on")


def send(board, sender, rate, seconds):
    """Packets sent, and the processor seconds that took."""
    process = board.pc.popen([sender, VIDEO_GROUP, str(rate), str(seconds)], stdout=subprocess.PIPE)
    used = 0.0
    while process.poll() is None:
        with contextlib.suppress(OSError):
            used = max(used, processor_seconds(process))
        time.sleep(0.05)
    return int(process.stdout.read()), used


def percent(used, seconds):
    return f"{used / seconds * 100:.2f} % of a core"


def kernels_part(board, sender, rate, seconds):
    _, alone = send(board, sender, rate, seconds)
    capture = our_capture(board)
    _, watched = send(board, sender, rate, seconds)
    time.sleep(HAND_OVER)
    capture.end(signal.SIGTERM)
    print(f"  sender without a capture {percent(alone, seconds)}, with the service's {percent(watched, seconds)}")


def compare(board, sender, rate, seconds):
    ours, theirs = our_capture(board), tcpdump(board)
    sent, _ = send(board, sender, rate, seconds)
    time.sleep(HAND_OVER)
    our_use, their_use = ours.use(), theirs.use()
    counted = int(ours.end(signal.SIGTERM).split()[-1])
    report = theirs.end(signal.SIGINT)
    captured, dropped = (int(re.findall(rf"(\d+) packets {word}", report)[0]) for word in ("captured", "dropped"))
    print(f"  sent {sent}: service counted {counted}, tcpdump captured {captured} and missed {dropped}")
    print(f"  service {percent(our_use, seconds)}, tcpdump {percent(their_use, seconds)}")
    return sent == counted


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=ROOT / "build/release", type=pathlib.Path, help="build directory")
    parser.add_argument("--seconds", default=30, type=int, help="length of each stream (default: 30)")
    parser.add_argument("--rates", default=[4750, 47500], type=int, nargs="+", help="packets a second")
    if os.geteuid() != 0:
        parser.error("tcpdump needs root")
    return parser.parse_args()


def main():
    arguments = parse_arguments()
    sender = (arguments.build / "video_stream_sender").resolve()
    exact = True
    with Board(base_dir="/dev/shm") as board:
        shutil.copy(arguments.build / "video_capture_bench", board.path(BIN))
        for rate in arguments.rates:
            print(f"{rate} packets/s of {DATAGRAM} bytes ({rate * DATAGRAM * 8 / 1e6:.0f} Mbit/s), "
                  f"{arguments.seconds} s:", flush=True)
            kernels_part(board, sender, rate, arguments.seconds)
            exact = compare(board, sender, rate, arguments.seconds) and exact
    return 0 if exact else 1


if __name__ == "__main__":
    sys.exit(main())
