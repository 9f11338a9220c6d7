"""The transfer packet as bytes, in both directions. All integers are little-endian.

A packet is a header, then a command status element (element count 2 or more), then a file element
(element count exactly 3). Fields that are not given are worked out or take their usual values, so a
packet that announces something else than it holds can be built as easily as a right one.
"""

import functools
from collections.abc import Mapping

from construct import Bytes, Default, If, Int8ul, Int16ul, Int32ul, Struct, this

PACKET_MARK = 0xC55C
SIGNATURE = 0xA5A58EE8

HEADER_LENGTH = 20
STATUS_LENGTH = 9
ADDRESSED_STATUS_LENGTH = 16
FILE_ELEMENT_FIXED_LENGTH = 14

PLAIN_COMMAND = 0
ALIVE_REQUEST = 257
ALIVE_REPLY = 258

Header = Struct(
    "length" / Default(Int32ul, lambda it: HEADER_LENGTH + len(it.get("extra", b""))),
    "mark" / Default(Int16ul, PACKET_MARK),
    "element_count" / Int8ul,
    "reserved" / Default(Int8ul, 0),
    "request_word_a" / Default(Int32ul, 0),
    "request_word_b" / Default(Int32ul, 0),
    "signature" / Default(Int32ul, SIGNATURE),
    "extra" / Default(Bytes(lambda it: max(it.length - HEADER_LENGTH, 0)), b""),
)

# Which display a request is for, or a reply is from; 0 in a request means any.
Address = Struct(
    "reserved" / Default(Int8ul, 0),
    "unit" / Default(Int16ul, 0),
    "column" / Default(Int16ul, 0),
    "group" / Default(Int16ul, 0),
)

CommandStatus = Struct(
    "length" / Default(Int32ul, lambda it: ADDRESSED_STATUS_LENGTH if it.get("address") else STATUS_LENGTH),
    "kind" / Default(Int16ul, 1),
    "command" / Default(Int16ul, PLAIN_COMMAND),
    "flag" / Default(Int8ul, 1),
    "address" / If(this.length == ADDRESSED_STATUS_LENGTH, Address),
)

# The element up to its data, which can be too long to be kept in one piece.
FileHead = Struct(
    "length" / Default(Int32ul, lambda it: FILE_ELEMENT_FIXED_LENGTH + len(it.name) + it.data_length),
    "kind" / Default(Int16ul, 3),
    "reserved" / Default(Int16ul, 0),
    "name_length" / Default(Int16ul, lambda it: len(it.name)),
    "name" / Bytes(lambda it: len(it.name) if it._building else it.name_length),
    "data_length" / Int32ul,
)

FileElement = Struct(
    "head" / FileHead,
    "data" / Bytes(this.head.data_length),
)

LcdPacket = Struct(
    "header" / Header,
    "status" / If(this.header.element_count >= 2, CommandStatus),
    "file" / If(this.header.element_count == 3, FileElement),
)


@functools.lru_cache
def _before_file_element() -> bytes:
    return Header.build({"element_count": 3}) + CommandStatus.build({})


def file_head(name: str | bytes, data_length: int) -> bytes:
    """Everything of a file's packet that goes before its data."""
    return _before_file_element() + FileHead.build({"name": _name_bytes(name), "data_length": data_length})


def file_packet(name: str | bytes, data: bytes) -> bytes:
    """A whole packet that carries a file."""
    return file_head(name, len(data)) + data


def status_packet(command: int = PLAIN_COMMAND, address: Mapping[str, int] | None = None) -> bytes:
    """A packet with header and command status; address is {"unit": ..., "column": ..., "group": ...}."""
    return LcdPacket.build({
        "header": {"element_count": 2}, "status": {"command": command, "address": address}, "file": None})


def _name_bytes(name: str | bytes) -> bytes:
    return name if isinstance(name, bytes) else name.encode("ascii")
