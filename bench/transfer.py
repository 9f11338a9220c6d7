#!/usr/bin/python3
"""What a transfer costs: throughput beside a minimal sink, many small files, start and rest.

Everything runs in the sandbox on a real veth pair, with all files in memory, service and sink in turn
and fed by the same sender, so that the ratios hold whatever else the machine is doing. Build first:

    cmake --preset release -DQUENDAL_BENCH=ON && cmake --build --preset release
    bench/transfer.py
"""

import argparse
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools.board import console
from quendal_tools.board.layout import BIN, TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from quendal_tools.sandbox.board import Board

SINK_PORT = 50300
PIECE = bytes(range(256)) * 4096  # 1 MiB
MIB = len(PIECE)


def send_and_time(connection, head, size, stored):
    """MB/s from the first byte sent until the whole file is there."""
    begin = time.monotonic()
    connection.sendall(head)
    for _ in range(size // MIB):
        connection.sendall(PIECE)
    connection.shutdown(socket.SHUT_WR)
    while not stored.exists() or stored.stat().st_size < size:
        time.sleep(0.001)
    return size / (time.monotonic() - begin) / 1e6


def throughput_of_service(board, service, size):
    stored = board.path(f"{TARGET}/video.ts")
    stored.unlink(missing_ok=True)
    mark = service.mark()
    with board.pc.connect(DATA_PORT) as connection:
        rate = send_and_time(connection, packet.file_head("video.ts", size), size, stored)
    # The closed connection re-opens the service, which must be over before the next run.
    service.wait_for(console.OPEN, after=mark)
    return rate


def throughput_of_sink(board, size):
    stored = board.path(f"{TARGET}/sink.ts")
    stored.unlink(missing_ok=True)
    process = board.popen([f"{BIN}/minimal_sink", str(SINK_PORT), f"{TARGET}/sink.ts"], stdout=subprocess.PIPE)
    process.stdout.readline()
    with board.pc.connect(SINK_PORT) as connection:
        rate = send_and_time(connection, b"", size, stored)
    process.wait(60)
    return rate


def compare_throughput(board, service, size, rounds):
    pairs = [(throughput_of_service(board, service, size), throughput_of_sink(board, size))
             for _ in range(rounds)]
    ours, peers = (statistics.median(rates) for rates in zip(*pairs))
    ratio = statistics.median(own / peer for own, peer in pairs)
    print(f"{size // MIB} MiB to memory, median of {rounds}: service {ours:.0f} MB/s, "
          f"minimal sink {peers:.0f} MB/s, ratio {ratio:.2f}")
    print(f"resident memory at most {peak_memory_kib(service)} KiB")


def many_files(board, count, size):
    packets = b"".join(packet.file_packet(f"small{number:05d}.bin", PIECE[:size]) for number in range(count))
    last = board.path(f"{TARGET}/small{count - 1:05d}.bin")
    with board.pc.connect(DATA_PORT) as connection:
        begin = time.monotonic()
        connection.sendall(packets)
        while not last.exists() or last.stat().st_size < size:
            time.sleep(0.001)
        duration = time.monotonic() - begin
    print(f"{count} files of {size} bytes on one connection: {count / duration:.0f} files/s")


def peak_memory_kib(service):
    status = pathlib.Path(f"/proc/{service.pid}/status").read_text(encoding="ascii")
    return int(status.split("VmHWM:")[1].split()[0])


def start_to_banner(board, binary, runs):
    """Milliseconds from starting the process to its banner, in the board's own clock."""
    durations = []
    for _ in range(runs):
        begin = time.monotonic()
        service = board.start_service(binary)
        while console.BANNER not in service.stderr_text():
            time.sleep(0.0005)
        durations.append((time.monotonic() - begin) * 1000)
        service.kill()
        service.wait(10)
    print(f"start to banner, median of {runs}: {statistics.median(durations):.1f} ms, worst {max(durations):.1f} ms")


def idle_processor_use(service, seconds):
    before = service.cpu_seconds()
    time.sleep(seconds)
    use = (service.cpu_seconds() - before) / seconds
    print(f"idle with the link up, {seconds} s: {use * 100:.2f} % of a core")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build", default=ROOT / "build/release", type=pathlib.Path, help="build directory")
    parser.add_argument("--mebibytes", default=512, type=int, help="size of the big file (default: 512)")
    parser.add_argument("--rounds", default=5, type=int, help="pairs of runs (default: 5)")
    parser.add_argument("--idle-seconds", default=60, type=int, help="how long to watch it idle (default: 60)")
    arguments = parser.parse_args()

    binary = arguments.build / "Quendal_L"
    with Board(base_dir="/dev/shm") as board:
        shutil.copy(arguments.build / "minimal_sink", board.path(BIN))
        start_to_banner(board, binary, 20)
        service = board.start_service(binary)
        service.wait_for(console.OPEN, timeout=20)
        idle_processor_use(service, arguments.idle_seconds)
        compare_throughput(board, service, arguments.mebibytes * MIB, arguments.rounds)
        many_files(board, 5000, 4096)


if __name__ == "__main__":
    main()
