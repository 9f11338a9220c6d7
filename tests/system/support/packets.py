"""Packets that are not as they should be, and the pieces of a right one."""

from quendal_tools.protocol import packet


LENGTH_FIELD = 4
LONGEST_MADE = 5000


def header(element_count=3, **fields):
    return packet.Header.build({"element_count": element_count, **fields})


def status(**fields):
    return packet.CommandStatus.build(fields)


def raw_header(length, element_count=1, signature=packet.SIGNATURE):
    """A header that says it is so long and is, but for lengths that nobody could mean."""
    return _of_length(length, header(element_count, signature=signature)[LENGTH_FIELD:])


def raw_status(length, kind=1):
    """A command status that says it is so long and is, but for lengths that nobody could mean."""
    return _of_length(length, status(kind=kind)[LENGTH_FIELD:])


def _of_length(length, fields):
    rest = max(0, min(length, LONGEST_MADE) - LENGTH_FIELD)
    return length.to_bytes(LENGTH_FIELD, "little") + fields[:rest].ljust(rest, b"\0")


def file_head(name, data_length, name_length=None):
    """The file element up to its data; name is bytes."""
    return packet.FileHead.build({
        "length": packet.FILE_ELEMENT_FIXED_LENGTH + len(name) + data_length & 0xFFFFFFFF, "name": name,
        "data_length": data_length, "name_length": len(name) if name_length is None else name_length})


HEADER = header()
STATUS = status()
BEFORE_FILE = HEADER + STATUS
HEAD_LENGTH = 10
