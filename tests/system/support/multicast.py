"""The multicast side: what the service writes about it, and a transmitter that sees every byte."""

import contextlib
import select
import socket
import struct
import time

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import GATEWAY, GROUP, GROUP_PORT, NUMBERS, RELAUNCH_HOURS
from quendal_tools.protocol import alive, packet

HEARTBEAT = bytes.fromhex("14000000 5CC50200 00000000 00000000 E88EA5A5 09000000 02000000 01")
REPLY_INTERVAL = 6
PATIENCE = 15

_IP_RECVTTL = 12  # which the socket module does not name


def text_since(rig, mark, opening=console.MULTICAST_OPENED):
    """All that has been written since then, but for a relaunch."""
    return console.without_relaunch(rig.service.stderr_text()[mark:], opening)


def await_paused(rig, after):
    """Waits until the service has closed its sockets, the multicast side's first, because the link has gone."""
    rig.service.wait_for(console.DATA_TASK_PAUSED, timeout=40, after=after)


def await_resumed(rig, after=0):
    """Waits until the multicast socket is open; returns the offset behind the words that say so."""
    return rig.service.wait_for(console.MULTICAST_RESUMED, timeout=40, after=after)


def await_relaunched(rig):
    """At some full hours of the day the socket is opened anew after its first receive: waits for that, if so."""
    opened = await_resumed(rig)
    if time.gmtime().tm_hour % RELAUNCH_HOURS == 0:
        await_resumed(rig, opened)


def await_resumed_and_due(rig):
    """Waits until the socket is open and the start is long enough ago for a reply to leave."""
    await_resumed(rig)
    started = rig.board.run(["stat", "-c", "%Y", f"/proc/{board_pid(rig)}"], check=True).stdout
    time.sleep(max(0.0, float(started) + REPLY_INTERVAL + 1.5 - time.time()))


def board_pid(rig):
    """The service's process number as the board knows it."""
    return rig.board.run(["pidof", "Quendal_L"], check=True).stdout.strip()


def request_packet(*, unit=0, column=0, group=0, content=None, words=(1, 2), command=packet.ALIVE_REQUEST,
                   kind=1, signature=packet.SIGNATURE):
    """An alive request, with a file when it has a content."""
    file = None
    if content is not None:
        file = {"head": {"name": b"alive_cfg.ini", "data_length": len(content)}, "data": content}
    return packet.LcdPacket.build({
        "header": {"element_count": 3 if file else 2, "request_word_a": words[0], "request_word_b": words[1],
                   "signature": signature},
        "status": {"kind": kind, "command": command, "address": {"unit": unit, "column": column, "group": group}},
        "file": file})


def server_entry(port, address=GATEWAY):
    return f"[new_alive_cfgpc_info]\nTCPserverPort={port}\nTCPserverIP={address}\n".encode()


class Transmitter:
    """Sends to the group and hears what comes to it; its server takes the replies.

    Use it as a context manager: at the end it sends a plain status, so that the display's last datagram, which
    it handles again and again, is no request of a transmitter that has gone.
    """

    def __init__(self, pc):
        self.pc = pc
        self.group = pc.socket(socket.SOCK_DGRAM)
        self.listener = pc.socket(socket.SOCK_STREAM)
        interface = socket.inet_aton(pc.address)
        self.group.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.group.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, interface)
        self.group.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_LOOP, 0)
        self.group.setsockopt(socket.IPPROTO_IP, _IP_RECVTTL, 1)
        self.group.bind((GROUP, GROUP_PORT))
        self.group.setsockopt(socket.IPPROTO_IP, socket.IP_ADD_MEMBERSHIP, socket.inet_aton(GROUP) + interface)
        self.listener.bind((pc.address, 0))
        self.listener.listen(64)
        self.port = self.listener.getsockname()[1]
        self._fillers = []

    def __enter__(self):
        return self

    def __exit__(self, *_):
        with contextlib.suppress(OSError):
            self.send(packet.status_packet())
        for each in (self.group, self.listener, *self._fillers):
            each.close()

    def send(self, datagram):
        self.group.sendto(datagram, (GROUP, GROUP_PORT))

    def ask(self, *, port=None, **fields):
        """Sends a request whose file names this transmitter's server (or another port of it)."""
        self.send(request_packet(content=server_entry(port or self.port, self.pc.address), **fields))

    def take_reply(self, timeout=PATIENCE):
        """The next connection's bytes until its end, with the address that they came from."""
        self.listener.settimeout(timeout)
        connection, (source, _) = self.listener.accept()
        with connection:
            connection.settimeout(timeout)
            with connection.makefile("rb") as stream:
                return stream.read(), source

    def has_connection(self, within=0.0):
        return bool(select.select([self.listener], [], [], within)[0])

    def let_connections_hang(self):
        """From now on the server does not answer to a connection, like a host that swallows packets."""
        self.listener.listen(0)
        for _ in range(3):
            self._fillers.append(self.pc.socket())
            self._fillers[-1].setblocking(False)
            self._fillers[-1].connect_ex(self.listener.getsockname())

    def heard(self, timeout):
        """The next datagram on the group, as (bytes, source address, TTL, time)."""
        self.group.settimeout(timeout)
        data, ancillary, _, (source, _) = self.group.recvmsg(2000, 100)
        ttl = next(struct.unpack("i", value)[0] for level, kind, value in ancillary
                   if (level, kind) == (socket.IPPROTO_IP, socket.IP_TTL))
        return data, source, ttl, time.time()


def reply_bytes(board, *, words=(1, 2), unit=0, column=0, group=0, signature=packet.SIGNATURE, own=NUMBERS):
    """The whole reply of a board whose group, column and unit number are own."""
    descriptor = (f"\n[Alive]\ngroupID={own[0]}\ncolumnID={own[1]}\nunitID={own[2]}\nipv4Addr={board.address}"
                  f"\nphyAddr={board.hardware_address}\n\n").encode()
    return packet.LcdPacket.build({
        "header": {"element_count": 3, "request_word_a": words[0], "request_word_b": words[1],
                   "signature": signature},
        "status": {"command": packet.ALIVE_REPLY, "address": {"unit": unit, "column": column, "group": group}},
        "file": {"head": {"name": alive.DESCRIPTOR_NAME.encode(), "data_length": len(descriptor)},
                 "data": descriptor}})


def temporary_files(board):
    return sorted(path.name for path in board.path("/tmp").glob("tmp*"))


def assert_no_temporary_files(board):
    """None is left; one may be there for the moment in which a datagram is handled."""
    wait_until(lambda: not temporary_files(board), 5, "the end of the temporary files")


def assert_replies(rig, transmitter, timeout=PATIENCE):
    """A good request gets its reply; it is asked again, because a reply may have left a moment ago."""
    words = (time.monotonic_ns() & 0xFFFFFFFF, 77)
    expected = reply_bytes(rig.board, words=words)

    def replied():
        transmitter.ask(words=words)
        return transmitter.has_connection(within=1) and transmitter.take_reply()[0] == expected

    wait_until(replied, timeout, "the reply to this request")
