"""The service's life in a quarter of a minute: link up, two transfers and two alive requests, SIGTERM.

Whoever talks to it does what a transmitter does: tries again until it works, or until it has been deaf for too long.
"""

import concurrent.futures
import contextlib
import random
import subprocess
import time

from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT, GATEWAY, VIDEO_GROUP
from quendal_tools.protocol import packet
from quendal_tools.protocol.control_files import LIST_FILE, STOP_MARKER, list_text
from quendal_tools.sandbox.board import Board
from fault_sweep import cases, record
from fault_sweep.verdict import REPLIES, DEAF_SECONDS, OWN_SECONDS, STOP_SECONDS, TRANSFERS, Seen
from support import multicast
from support.leftovers import children_of
from support.rig import has_ended


LIBRARY = "/opt/faults/preload.so"
RECORD = "/opt/faults/record"
HOST_NAME = "transmitter.example"

# The video watch is on, so that its capture is a part of it. The socket is not opened afresh at an hour of the day
# (but for the first of it), so that each run is like the other.
_INI = {"videoMcIp": VIDEO_GROUP, "mcRstHrFactor": 24}
_ATTEMPT_SECONDS = 20
# When a connection has ended the service opens its port afresh, and drops those that were opened meanwhile.
_REOPEN_SECONDS = 1.5
_QUIET_SECONDS = 5
_SIZES = (70_000, 1, 30_000)
_OWN_TEMPORARY = ("Dest", "Work")


class Scenario:
    """One run of the service on a board of its own."""

    def __init__(self, binary, library, case=None, memory=False):
        self._binary = binary
        self._library = library
        self._plan = cases.plan(case, memory)
        self.seen = Seen()
        self.sites = []

    def run(self):
        """Goes through it all; returns what was seen."""
        hosts = f"127.0.0.1 localhost\n{GATEWAY} {HOST_NAME}\n"
        with Board(ini=_INI, files={"/etc/hosts": hosts}) as self._board:
            self._display = self._board.display()
            self._start()
            self._talk()
            self._look()
            self._stop()
            path = self._board.path(RECORD)
            self.seen.made = record.faults_made(path)
            if self._plan.startswith("0 "):
                self.sites = record.sites(path)
        return self.seen

    def _start(self):
        self._board.write(LIBRARY, self._library.read_bytes())
        record.make(self._board.path(RECORD))
        self._service = self._board.start_service(self._binary, env={
            **self._display.env, "LD_PRELOAD": LIBRARY, "FAULTS_RECORD": RECORD, "FAULTS_PLAN": self._plan})

    def _talk(self):
        with concurrent.futures.ThreadPoolExecutor(1) as pool:
            transfers = pool.submit(self._transfer_all)
            self._ask_all()
            transfers.result()

    def _transfer_all(self):
        for _ in range(TRANSFERS):
            if not self._try_for_long(self._transfer):
                return
            self.seen.transfers += 1
            time.sleep(_REOPEN_SECONDS)

    def _ask_all(self):
        with multicast.Transmitter(self._board.pc) as transmitter:
            for number, server in zip(range(REPLIES), (HOST_NAME, self._board.pc.address)):
                if not self._try_for_long(lambda: self._ask(transmitter, number, server)):
                    return
                self.seen.replies += 1
                # Else it would be asked again and again, by its own last datagram.
                transmitter.send(packet.status_packet())

    def _try_for_long(self, attempt):
        deadline = time.monotonic() + DEAF_SECONDS + OWN_SECONDS
        while self._service.alive() and time.monotonic() < deadline:
            if attempt():
                return True
        return False

    def _transfer(self):
        """One attempt at a whole transfer, of other contents each time."""
        number = len(self.seen.attempts)
        files = {f"file{index}.bin": random.Random(100 * number + index).randbytes(size)
                 for index, size in enumerate(_SIZES)}
        files = {LIST_FILE: list_text(files), **files, STOP_MARKER: b""}
        try:
            connection = self._board.pc.connect(DATA_PORT, timeout=_QUIET_SECONDS)
        except OSError:
            time.sleep(0.2)
            return False
        marker = self._board.path(f"{TARGET}/{STOP_MARKER}")
        marker.unlink(missing_ok=True)
        with connection:
            self.seen.attempts.append(self._send(connection, files))
        return self.seen.attempts[-1]

    def _send(self, connection, files):
        try:
            for name, data in files.items():
                connection.sendall(packet.file_packet(name, data))
            wait_until(lambda: self._has_stored(files) or has_ended(connection), _ATTEMPT_SECONDS, "the files", 0.05)
        except OSError:
            time.sleep(_REOPEN_SECONDS)
        return self._has_stored(files)

    def _has_stored(self, files):
        """The marker comes last, and only then are the others worth a look."""
        try:
            return all(self._board.path(f"{TARGET}/{name}").read_bytes() == data
                       for name, data in reversed(files.items()))
        except FileNotFoundError:
            return False

    def _ask(self, transmitter, number, server):
        """One request; did its reply come in its second? A reply to an earlier one does not count."""
        words = (number, time.monotonic_ns() & 0xFFFFFFFF)
        expected = multicast.reply_bytes(self._board, words=words)
        entry = multicast.server_entry(transmitter.port, server)
        transmitter.send(multicast.request_packet(content=entry, words=words))
        while transmitter.has_connection(within=1):
            try:
                if transmitter.take_reply(_QUIET_SECONDS)[0] == expected:
                    return True
            except OSError:
                return False
        return False

    def _look(self):
        """What there is when all is quiet."""
        if not self._service.alive():
            return
        self.seen.left_running = _await_none(lambda: self._files() + self._children())
        with contextlib.suppress(FileNotFoundError):
            self.seen.descriptors = self._service.fd_count()

    def _stop(self):
        self.seen.ended_by_itself = not self._service.alive()
        if not self.seen.ended_by_itself:
            self.seen.cpu = self._service.cpu_seconds()
            self._service.terminate()
        try:
            self.seen.status = self._service.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            self.seen.cpu = self._service.cpu_seconds()
            self._service.kill()
            self._service.wait()
        self.seen.left_behind = _await_none(lambda: self._files() + self._strays())
        self.seen.events = self._display.names()
        self.seen.text = self._service.stderr_text()

    def _files(self):
        """Files that nobody has sent, or that were only meant for a moment."""
        temporary = [f"/tmp/{path.name}" for path in self._board.path("/tmp").iterdir()
                     if path.name not in _OWN_TEMPORARY]
        sent = {LIST_FILE, STOP_MARKER, *(f"file{index}.bin" for index in range(len(_SIZES)))}
        return temporary + [path.name for path in self._board.path(TARGET).iterdir() if path.name not in sent]

    def _children(self):
        return [f"child {name}" for _, name in children_of(self._service.pid)]

    def _strays(self):
        """Processes on the board that are neither the display nor the board's own."""
        return [f"process {name}" for pid, name in children_of(self._board.pid)
                if pid != self._display.pid]


def _await_none(look):
    """What is there is given a moment to go."""
    deadline = time.monotonic() + _QUIET_SECONDS
    while (there := look()) and time.monotonic() < deadline:
        time.sleep(0.1)
    return there
