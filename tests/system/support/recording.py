"""Everything that passes a board's eth0, recorded for tcpdump to look at.

tcpdump itself cannot capture on a board: it wants to change its user there, which no board allows.
"""

import contextlib
import select
import socket
import struct
import subprocess
import threading

ALL_PROTOCOLS = 0x0003
BUFFER = 32 << 20
MOST = 65535
ETHERNET = 1
FILE_HEADER = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, MOST, ETHERNET)


@contextlib.contextmanager
def recording(board, path):
    """Records into a capture file until the end of the block."""
    ready, end = threading.Event(), threading.Event()

    def record():
        with open(path, "wb") as file, board.socket(
                socket.SOCK_RAW, socket.AF_PACKET, socket.htons(ALL_PROTOCOLS)) as frames:
            frames.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, BUFFER)
            frames.bind(("eth0", ALL_PROTOCOLS))
            file.write(FILE_HEADER)
            ready.set()
            while select.select([frames], [], [], 0.2)[0] or not end.is_set():
                with contextlib.suppress(BlockingIOError):
                    frame = frames.recv(MOST, socket.MSG_DONTWAIT)
                    file.write(struct.pack("<IIII", 0, 0, len(frame), len(frame)) + frame)

    recorder = threading.Thread(target=record)
    recorder.start()
    try:
        assert ready.wait(10)
        yield
    finally:
        end.set()
        recorder.join()


def tcpdump_count(path, expression):
    """How many of the recorded packets pass tcpdump's filter."""
    with open(path, "rb") as file:
        counted = subprocess.run(["tcpdump", "--count", "-r", "-", expression], stdin=file, check=True,
                                 capture_output=True, text=True).stdout
    return int(counted.split()[0])
