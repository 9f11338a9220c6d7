"""A board with a waiting display and the started service on it, and what tests do with these."""

import contextlib
import fcntl
import hashlib
import itertools
import random
import select
import socket
import struct
import termios
import time

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support import packets

LINK_UP_SECONDS = 30
REOPEN_SECONDS = 20

# On a loaded machine the display, and whoever writes a time down, may be so much late.
NOTICED_LATE = 0.5

# A service that only waits takes less than this part of a core, whatever else the machine does.
IDLE_SHARE = 0.2


class Rig:
    def __init__(self, board, display, service):
        self.board = board
        self.display = display
        self.service = service
        self.services = [service]
        self._numbers = itertools.count(1)

    def await_open(self, after=0, timeout=LINK_UP_SECONDS):
        """Waits for the port to be open; returns the offset behind the line that says so."""
        return self.service.wait_for(console.OPEN, timeout=timeout, after=after)

    def await_ready(self):
        """Waits for the port to be open and for the display to have noticed that the link is up."""
        self.await_open()
        self.display.wait_for("NETW_UP")

    def settle(self):
        """Sees to it that the port is open with no connection left, also after a test that went wrong."""
        if not self.text_since(0).endswith(console.OPEN):
            self.send(packets.header(1))

    def connect(self, timeout=REOPEN_SECONDS):
        """A connection that the service has greeted.

        One that is refused, or dropped because the port was about to be closed, is tried again.
        """
        mark = self.service.mark()
        deadline = time.monotonic() + timeout
        while True:
            try:
                connection = self.board.pc.connect(DATA_PORT)
                self._await_greeting(connection, mark)
                return connection
            except (ConnectionRefusedError, ConnectionResetError):
                if time.monotonic() > deadline:
                    raise
                time.sleep(0.02)

    def _await_greeting(self, connection, mark):
        greeting = console.connected(peer_of(connection))

        def greeted():
            if has_ended(connection):
                raise ConnectionResetError("the service has dropped the connection")
            return greeting in self.text_since(mark)

        wait_until(greeted, LINK_UP_SECONDS, greeting)

    @contextlib.contextmanager
    def session(self):
        """A greeted connection; at the end it is closed, and the port has been opened again because of that."""
        mark = self.service.mark()
        with self.connect() as connection:
            peer = peer_of(connection)
            yield connection
        dropped = self.service.wait_for(console.disconnected(peer), timeout=REOPEN_SECONDS, after=mark)
        self.await_open(dropped, REOPEN_SECONDS)

    def send(self, *packets_to_send):
        """Sends packets on a connection of their own and closes it; returns its name on the console.

        The service has taken the packets, noticed the end and opened its port again.
        """
        with self.session() as connection:
            connection.sendall(b"".join(packets_to_send))
            return peer_of(connection)

    def await_read(self, connection):
        """Waits until the service has read all that was sent on a connection."""
        await_acknowledged(connection)
        port = port_of(connection)
        wait_until(lambda: self._known(port).split()[1] == "0", 10, "the service's reading")

    def reset(self, connection):
        """Ends a connection with a reset, and waits until the service's system has it."""
        port = port_of(connection)
        reset(connection)
        wait_until(lambda: not self._known(port), 10, "the reset's arrival")

    def _known(self, port):
        """What the service's system knows of the connection from a port: state, bytes that were not read, and more."""
        return self.board.run(["ss", "-tnH", f"dport = :{port}"], check=True).stdout

    def assert_woken(self, *names):
        """The display has been woken by exactly these so far; the last of them may only just be on its way."""
        with contextlib.suppress(TimeoutError):
            wait_until(lambda: len(self.display.names()) >= len(names), 10, "the last wake-up")
        assert self.display.names() == list(names)

    def text_since(self, mark):
        """What has been written since then, but for the multicast and video tasks' state."""
        return console.without_multicast(self.service.stderr_text()[mark:])

    def multicast_since(self, mark, opening=console.MULTICAST_OPENED):
        """What the multicast task has written since then about its state and its failures."""
        return console.multicast_part(self.service.stderr_text()[mark:], opening)

    def stored(self, name, directory=TARGET):
        """A received file's content, None when there is none."""
        try:
            return self.board.path(f"{directory}/{name}").read_bytes()
        except FileNotFoundError:
            return None

    def await_stored(self, name, data, timeout=20, directory=TARGET):
        path = self.board.path(f"{directory}/{name}")
        wait_until(lambda: path.exists() and path.stat().st_size == len(data) and path.read_bytes() == data, timeout,
                   f"the file {name}")

    def assert_good_transfer(self, size=300_000):
        """The service is usable: a file of random bytes arrives as it was sent."""
        number = next(self._numbers)
        name, data = f"good{number}.bin", random.Random(number).randbytes(size)
        self.send(packet.file_packet(name, data))
        stored = self.board.run(["sha256sum", f"{TARGET}/{name}"]).stdout.split()
        assert stored and stored[0] == hashlib.sha256(data).hexdigest()


def peer_of(connection):
    """How the service calls the other end of this connection."""
    return "{}:{}".format(*connection.getsockname())


def has_ended(connection):
    """Has the other side ended the connection, by a close or by a reset? It never sends anything."""
    try:
        return bool(select.select([connection], [], [], 0)[0]) and connection.recv(1) == b""
    except ConnectionResetError:
        return True


def port_of(connection):
    return connection.getsockname()[1]


def await_acknowledged(connection, timeout=10):
    """Waits until the service's system has all that was sent."""
    def nothing_left():
        return struct.unpack("i", fcntl.ioctl(connection, termios.TIOCOUTQ, bytes(4)))[0] == 0

    wait_until(nothing_left, timeout, "the acknowledgement of what was sent")


def reset(connection):
    """Ends the connection with a reset instead of a close."""
    await_acknowledged(connection)
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()
