"""What the service makes of a stream of bytes, told a second time and as plainly as possible.

Names that cost seconds (refused ones, the stop marker, the reboot request) are not in it: it says so instead.
"""

import struct

from quendal_tools.board import console
from quendal_tools.protocol import packet

MAX_HEADER, MAX_STATUS, MAX_NAME, MAX_LEAF = 1026, 1024, 1023, 255


class Costly(Exception):
    """A name that makes the service wait for seconds."""


class End(Exception):
    """A connection's end: its code and the text before it."""

    def __init__(self, code, text):
        super().__init__(code)
        self.code = code
        self.text = text


class Model:
    """The files and the mode that outlive a connection, and what the streams so far have led to."""

    def __init__(self):
        self.files: dict[bool, dict[bytes, bytes]] = {False: {}, True: {}}
        self.dont_care = False

    def connection(self, stream):
        """Takes a whole connection, which ends behind the stream: (text between greeting and code line, code)."""
        source = Source(stream)
        said: list[bytes] = []
        try:
            while True:
                self._packet(source, said)
        except End as end:
            return b"".join(said) + end.text.encode(), end.code

    def is_whole(self, data):
        """Are these bytes packets without any error, the last of them complete?"""
        trial = Model()
        trial.connection(data)
        source = Source(data)
        try:
            while source.position < len(data):
                trial._packet(source, [])
        except End:
            return False
        return not source.cut

    def _packet(self, source, said):
        if header(source) < 2:
            return
        elements = source.elements
        status(source)
        if elements == 3:
            self._file(source, said)

    def _file(self, source, said):
        head = source.take(10, 771, "DataRxFileElement<pos:0>:")
        length = struct.unpack_from("<H", head, 8)[0]
        if length > MAX_NAME:
            raise End(1025, console.exception(
                "DataRxFileElement<pos:1>::", f"Bad data format: a file name of {length} bytes, at most 1023 fit"))
        name = source.take(length, 1027, "DataRxFileElement<pos:1>:")
        said.append(console.file_named("").encode() + name)
        if is_costly(name):
            raise Costly(name)
        if b"FileList.sys" in name:
            self.dont_care = False
        if b"FLDnCare.sys" in name:
            self.dont_care = True
        size = struct.unpack("<I", source.take(4, 771, "DataRxFileElement<pos:2>:"))[0]
        self.files[self.dont_care][name] = source.rest(size)


class Source:
    def __init__(self, data):
        self._data = data
        self.position = 0
        self.elements = 0
        self.cut = False

    def take(self, count, code, place):
        piece = self.rest(count)
        if len(piece) < count:
            raise End(code, console.closed_by_peer(place))
        return piece

    def rest(self, count):
        """As much as there is."""
        piece = self._data[self.position:self.position + count]
        self.position += len(piece)
        self.cut = len(piece) < count
        return piece


def header(source):
    """Takes a header; its element count."""
    begin = source.take(4, 259, "DataProcHeader<pos:0>:")
    length = struct.unpack("<I", begin)[0]
    if not packet.HEADER_LENGTH <= length <= MAX_HEADER:
        raise End(516, console.HEADER_REFUSED)
    rest = source.take(length - 4, 515, "DataProcHeader<pos:1>:")
    if struct.unpack_from("<I", rest, 12)[0] != packet.SIGNATURE:
        raise End(516, console.HEADER_REFUSED)
    source.elements = rest[2]
    return source.elements


def status(source):
    length = struct.unpack("<I", source.take(4, 515, "DataRxCmdStatus<pos:0>:"))[0]
    if not 8 <= length <= MAX_STATUS:
        raise End(1027, console.STATUS_REFUSED)
    rest = source.take(length - 4, 771, "DataRxCmdStatus<pos:1>:")
    if struct.unpack_from("<H", rest, 0)[0] not in (1, 2):
        raise End(1027, console.STATUS_REFUSED)


def is_costly(name):
    return (name in (b"", b".", b"..") or b"/" in name or b"\0" in name or len(name) > MAX_LEAF
            or b"kvXferStop.sys" in name or name.lower() == b"reboot.cfg")
