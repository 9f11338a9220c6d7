"""What a transmitter and a display say to each other for the dissector: right packets and all kinds of wrong ones."""

import dataclasses
import pathlib
import re
import socket

from quendal_tools.board import console
from quendal_tools.protocol import packet
from support import dissection, multicast
from support.multicast import Transmitter, request_packet
from support.packets import BEFORE_FILE, HEADER, STATUS, file_head, header, raw_header, raw_status
from support.rig import await_acknowledged

CLIP = bytes(range(256)) * 20
CLIP_PIECES = (3, 14, 8, 9, 7, 9, 2950)
COMPLAINT = "Error Network packet format detected"
CUT = "the connection ends before the packet does"
SHORT = "it ends before its elements do"

_OWN_PORTS, _OTHER_PORTS = dissection.FREE_PORTS[:100], dissection.FREE_PORTS[100:]

# What the display drops the connection for: bytes, what is said of them, and the display's code.
REFUSED = {
    "signature": (raw_header(20, signature=packet.SIGNATURE + 1), "a wrong signature", 516),
    "short header": (raw_header(19), "a header of 19 bytes", 516),
    "long header": (raw_header(1027), "a header of 1027 bytes", 516),
    "short status": (header(2) + raw_status(7), "a command status of 7 bytes", 1027),
    "long status": (header(2) + raw_status(1025), "a command status of 1025 bytes", 1027),
    "status kind": (header(2) + raw_status(9, kind=3), "a status kind of 3", 1027),
    "long name": (BEFORE_FILE + file_head(bytes(1024), 2) + b"ab", "a file name of 1024 bytes", 1025),
    "no name": (BEFORE_FILE + file_head(b"", 2) + b"ab", "a file name that is refused", 1537),
    "name that leads out": (BEFORE_FILE + file_head(b"a/../../b", 2) + b"ab", "a file name that is refused", 1537),
    "zero in a name": (BEFORE_FILE + file_head(b"a\0b", 2) + b"ab", "a file name that is refused", 1537),
    "cut header": (HEADER[:12], CUT, 515),
    "cut status": (BEFORE_FILE[:25], CUT, 771),
    "cut name": (BEFORE_FILE + file_head(b"cut.bin", 9)[:12], CUT, 1027),
    "cut data": (BEFORE_FILE + file_head(b"cut.bin", 9) + b"abc", CUT, 259),
    "endless data": (BEFORE_FILE + file_head(b"endless.bin", 0xFFFFFFFF) + b"abc", CUT, 259),
}
# Datagrams that the display complains about.
REPORTED = {
    "signature": (request_packet(unit=9, signature=1), "a wrong signature"),
    "status kind": (request_packet(unit=9, kind=3), "a status kind of 3"),
    "both": (request_packet(unit=9, kind=0, signature=1), "a wrong signature; a status kind of 0"),
    "long header": (raw_header(1001), "a header of 1001 bytes"),
    "header that leaves no room": (raw_header(993, element_count=2), "no room for a command status"),
    "long status": (header(2) + raw_status(981), "a command status of 981 bytes"),
    "status that leaves no room": (header(3) + raw_status(967), "no room for a file element"),
    "long name": (BEFORE_FILE + file_head(bytes(958), 0), "a file name of 958 bytes"),
    "data that leads out": (BEFORE_FILE + file_head(b"big", 955) + bytes(955), "file data of 955 bytes"),
    "endless data": (BEFORE_FILE + file_head(b"big", 0xFFFFFFFF), "file data of 4294967295 bytes"),
}
# A request that the display has something else to say about, so that it shows how far it has come.
NOTICED_WORD = 0x4E4F5445
NOTICED = request_packet(unit=9, content=b"[new_alive_cfgpc_info]\nTCPserverPort=none\n", words=(NOTICED_WORD, 0))
# Datagrams that it takes: what they lack is read from behind them, and odd lengths are none of its business.
TAKEN = {
    "whole room": (BEFORE_FILE + file_head(b"big", 954) + bytes(954), None),
    "short header": (header(0, length=19), None),
    "short status": (header(2) + b"\1\0\0\0" + STATUS[4:], None),
    "four elements": (header(4) + STATUS, None),
    "bytes behind it": (packet.status_packet() + b"more", None),
    "cut header": (HEADER[:12], SHORT),
    "cut status": (BEFORE_FILE[:25], SHORT),
    "cut data": (request_packet(unit=9, content=b"x" * 50)[:-20], SHORT),
}


@dataclasses.dataclass
class Session:
    """A captured session; source ports and the display's codes are those of the connections by their name."""

    capture: pathlib.Path
    board: object
    ports: dict
    codes: dict


def one_by_one(connection, *pieces):
    """Sends each piece in a segment of its own."""
    for piece in pieces:
        connection.sendall(piece)
        await_acknowledged(connection)


def clip_pieces():
    whole, start = packet.file_packet("clip.ts", CLIP), 0
    for size in CLIP_PIECES:
        yield whole[start:start + size]
        start += size
    yield whole[start:]


def transfer(rig, ports):
    with rig.session() as connection:
        ports["transfer"] = connection.getsockname()[1]
        one_by_one(
            connection, packet.file_packet("FileList.sys", b"clip.ts\r\n"), *clip_pieces(),
            header(1) + packet.status_packet(), packet.file_packet("empty.bin", b""),
            header(extra=b"more") + packet.CommandStatus.build({"address": {"unit": 3, "column": 2, "group": 1}})
            + file_head(b"sub.bin", 2) + b"ab")


def send_refused(rig, ports, codes):
    # A port that the kernel chose could be that of an earlier connection, which was reset.
    for number, (name, (data, _, _)) in enumerate(REFUSED.items()):
        dissection.use_ports(rig.board.pc, _OWN_PORTS[number:number + 1])
        mark = rig.service.mark()
        ports[name] = int(rig.send(data).rpartition(":")[2])
        codes[name] = int(re.findall(r"Err RC:(\d+)", rig.text_since(mark))[0])
    dissection.use_ports(rig.board.pc, _OTHER_PORTS)
    with rig.session() as connection:
        ports["behind"] = connection.getsockname()[1]
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        connection.sendall(REFUSED["signature"][0])
        connection.sendall(packet.status_packet())


def send_noticed(rig, transmitter):
    """The display has come to this; returns the offset behind what it has said so far."""
    mark = rig.service.mark()
    transmitter.send(NOTICED)
    return rig.service.wait_for(console.ALIVE_FILE_NOT_TAKEN, after=mark)


def send_datagrams(rig, transmitter):
    """The display handles its last datagram again and again: that one must not be what it complains about."""
    for data, _ in REPORTED.values():
        mark = send_noticed(rig, transmitter)
        transmitter.send(data)
        rig.service.wait_for(COMPLAINT, after=mark)
    begin = send_noticed(rig, transmitter)
    for data, _ in TAKEN.values():
        transmitter.send(data)
    end = send_noticed(rig, transmitter)
    assert COMPLAINT not in rig.service.stderr_text()[begin:end]


def run(rig, capture):
    """Captures a session of a display that is due to reply; returns what there is to know about it."""
    for place in (rig.board, rig.board.pc):
        dissection.use_ports(place, _OTHER_PORTS)
    session = Session(capture, rig.board, {}, {})
    with dissection.capturing(rig.board.pc, capture), Transmitter(rig.board.pc) as transmitter:
        transmitter.ask(unit=3, group=1, words=(0x01020304, 0xA0B0C0D0))
        session.ports["reply"] = transmitter.port
        transmitter.take_reply()
        transmitter.send(multicast.reply_bytes(rig.board))
        transfer(rig, session.ports)
        send_refused(rig, session.ports, session.codes)
        send_datagrams(rig, transmitter)
        while transmitter.heard(timeout=40)[0] != multicast.HEARTBEAT:
            pass
    return session
