"""A video stream from the PC's side, as slow as a test needs it, and the number of packets the service has counted."""

import contextlib
import socket
import subprocess
import threading

OTHER_GROUP = "239.255.77.3"
PORT = 5000
DATAGRAM = bytes(1316)
COUNTER = "quendal::shared::videoPacketCount"


def send(board, group, count=1):
    with board.pc.socket(socket.SOCK_DGRAM) as sender:
        for _ in range(count):
            sender.sendto(DATAGRAM, (group, PORT))


@contextlib.contextmanager
def stream(board, group, interval=0.1):
    """Sends to the group, one datagram each interval, until the end of the block."""
    end = threading.Event()

    def keep_sending():
        while not end.wait(interval):
            send(board, group)

    sender = threading.Thread(target=keep_sending)
    sender.start()
    try:
        yield
    finally:
        end.set()
        sender.join()


class PacketCounter:
    """The service's own count, which it tells nobody: looked up in its memory."""

    def __init__(self, service, binary):
        with open(f"/proc/{service.pid}/maps") as file:
            base = next(int(line.partition("-")[0], 16) for line in file if line.endswith(f"/{binary.name}\n"))
        self._address = base + _offset(binary)
        self._memory = f"/proc/{service.pid}/mem"

    def read(self):
        with open(self._memory, "rb", buffering=0) as memory:
            memory.seek(self._address)
            return int.from_bytes(memory.read(4), "little")


def _offset(binary):
    symbols = subprocess.run(["nm", "-C", binary], check=True, capture_output=True, text=True).stdout
    return next(int(line.split()[0], 16) for line in symbols.splitlines() if line.endswith(" " + COUNTER))
