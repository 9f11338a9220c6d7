"""The alive check as bytes: the request, a display's reply with its descriptor, and the heartbeat.

What comes from the network is checked in full before any of it is believed or shown.
"""

import configparser
import dataclasses
import ipaddress
import re
from collections.abc import Mapping

from construct import ConstructError, FocusedSeq, Terminated

from quendal_tools.protocol import packet

DESCRIPTOR_NAME = "KV_ALIVE_DESC.spt"
# The display assembles its reply in a buffer of this size.
MAX_REPLY = 4096

_REQUEST_FILE_NAME = "alive_cfgpc.ini"
_REQUEST_FILE = "[new_alive_cfgpc_info]\nTCPserverPort={port}\nTCPserverIP={address}\n"
_SECTION = "Alive"
_NUMBER = re.compile(r"[0-9]{1,5}")
_HARDWARE_ADDRESS = re.compile(r"[0-9A-Fa-f]{2}(:[0-9A-Fa-f]{2}){5}")
_HEARTBEAT_KIND = 2

_WholePacket = FocusedSeq("packet", "packet" / packet.LcdPacket, Terminated)


class BadReply(Exception):
    """What is wrong with something that should be a display's reply."""


@dataclasses.dataclass(frozen=True)
class Descriptor:
    """Who a display says that it is; hardware_address is None when the display could not read it."""

    group: int
    column: int
    unit: int
    address: str
    hardware_address: str | None


@dataclasses.dataclass(frozen=True)
class Reply:
    """The request words are those of the request that this is the reply to."""

    words: tuple[int, int]
    descriptor: Descriptor


def request(display: Mapping[str, int], server: tuple[str, int], words: tuple[int, int]) -> bytes:
    """The request's datagram.

    display  {"group": ..., "column": ..., "unit": ...}, 0 for any
    server   address and port of the TCP server on which the replies are awaited
    words    two numbers that the replies bring back
    """
    text = _REQUEST_FILE.format(address=server[0], port=server[1]).encode("ascii")
    return packet.LcdPacket.build({
        "header": {"element_count": 3, "request_word_a": words[0], "request_word_b": words[1]},
        "status": {"command": packet.ALIVE_REQUEST, "address": display},
        "file": {"head": {"name": _REQUEST_FILE_NAME.encode("ascii"), "data_length": len(text)}, "data": text},
    })


def is_heartbeat(datagram: bytes) -> bool:
    try:
        parsed = _WholePacket.parse(datagram)
    except ConstructError:
        return False
    return (parsed.header.signature == packet.SIGNATURE and parsed.header.element_count == 2
            and parsed.status.kind == _HEARTBEAT_KIND and parsed.status.command == packet.PLAIN_COMMAND)


def parse_reply(data: bytes) -> Reply:
    """All that a display wrote on its connection, as a Reply; BadReply says what is wrong with it."""
    try:
        parsed = _WholePacket.parse(data)
    except ConstructError:
        raise BadReply("not one whole packet") from None
    if parsed.header.signature != packet.SIGNATURE:
        raise BadReply("a wrong signature")
    if parsed.header.element_count != 3 or parsed.status.command != packet.ALIVE_REPLY:
        raise BadReply("not an alive reply")
    if parsed.file.head.name != DESCRIPTOR_NAME.encode("ascii"):
        raise BadReply("a file other than the descriptor")
    words = parsed.header.request_word_a, parsed.header.request_word_b
    return Reply(words, parse_descriptor(parsed.file.data))


def parse_descriptor(data: bytes) -> Descriptor:
    """The text that a display describes itself with; BadReply when a line of it is missing or makes no sense."""
    ini = configparser.ConfigParser(interpolation=None)
    try:
        ini.read_string(data.decode("ascii"))
        values = ini[_SECTION]
        return Descriptor(
            _number(values["groupID"]), _number(values["columnID"]), _number(values["unitID"]),
            str(ipaddress.IPv4Address(values["ipv4Addr"])), _hardware_address(values["phyAddr"]))
    except (UnicodeDecodeError, configparser.Error, KeyError, ValueError):
        raise BadReply("a descriptor that makes no sense") from None


def _number(text: str) -> int:
    if not _NUMBER.fullmatch(text) or int(text) > 0xFFFF:
        raise ValueError(text)
    return int(text)


def _hardware_address(text: str) -> str | None:
    if not text:
        return None
    if not _HARDWARE_ADDRESS.fullmatch(text):
        raise ValueError(text)
    return text.lower()
