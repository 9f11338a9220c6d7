"""The file in which the preloaded library keeps what it has seen; its layout is call_record.h's."""

import dataclasses
import struct

PHASES = ("start", "service", "stop")

_MAGIC = 0x3144524F43455246
_MAX_FRAMES = 24
_MAX_MODULES = 64
_MAX_SITES = 16384
_HEAD = struct.Struct("<QIIII")
_MODULE = struct.Struct("<Q248s")
_SITE = struct.Struct(f"<Q32s3IIII{2 * _MAX_FRAMES}I")
_SITES_AT = _HEAD.size + _MAX_MODULES * _MODULE.size

SIZE = _SITES_AT + _MAX_SITES * _SITE.size


@dataclasses.dataclass(frozen=True)
class Site:
    """One way on which one call is reached; frames are (module's path, offset), the program's own path empty."""

    hash: int
    call: str
    counts: tuple
    on_first_thread: bool
    order: int
    frames: tuple


def make(path):
    """An empty record for the library to fill."""
    path.parent.mkdir(parents=True, exist_ok=True)
    with path.open("xb") as file:
        file.truncate(SIZE)


def faults_made(path):
    """How often the planned fault has been made; None when the library has not been at work."""
    with path.open("rb") as file:
        magic, made, *_ = _HEAD.unpack(file.read(_HEAD.size))
    return made if magic == _MAGIC else None


def sites(path):
    """Every call site, in the order in which they were first reached."""
    data = path.read_bytes()
    magic, _, _, lost, _ = _HEAD.unpack_from(data)
    if magic != _MAGIC or lost:
        raise ValueError("the record of calls is incomplete")
    modules = [_text(_MODULE.unpack_from(data, _HEAD.size + number * _MODULE.size)[1])
               for number in range(_MAX_MODULES)]
    found = (_site(fields, modules) for fields in _SITE.iter_unpack(data[_SITES_AT:]) if fields[0])
    return sorted(found, key=lambda site: site.order)


def _site(fields, modules):
    hash_, call, *counts, on_first_thread, order, frame_count = fields[:8]
    numbers = fields[8:8 + 2 * frame_count]
    frames = tuple((modules[module], offset) for module, offset in zip(numbers[::2], numbers[1::2]))
    return Site(hash_, _text(call), tuple(counts), bool(on_first_thread), order, frames)


def _text(field):
    return field.partition(b"\0")[0].decode()
