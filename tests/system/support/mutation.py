"""Packets that have been tampered with, from a seeded generator."""

import random

from support import packets
from support.model import Costly, Model

NAMES = [b"a", b"clip.ts", b"Package_Hub.zip", b"FileList.sys", b"FLDnCare.sys", b"x" * 200, bytes(range(200, 256))]
EDGES = [0, 1, 3, 4, 7, 8, 9, 10, 14, 16, 19, 20, 21, 127, 128, 255, 256, 1023, 1024, 1025, 1026, 1027, 32767, 32768,
         65535, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF]


class Mutator:
    def __init__(self, seed):
        self._random = random.Random(seed)

    def harmless(self):
        """A tampered packet behind which the stream can still be read."""
        return self._draw(lambda data: Model().is_whole(data))

    def fatal(self):
        """A tampered packet that ends its connection, be it because the connection's end cuts it off."""
        return self._draw(lambda data: not Model().is_whole(data))

    def _draw(self, suits):
        while True:
            original = self._packet()
            data = self._tamper(original)
            try:
                if data not in (original, b"") and suits(data):
                    return data
            except Costly:
                continue

    def _packet(self):
        pick = self._random
        count = pick.choice([0, 1, 2, 3, 3, 3, 3, 4, 255])
        header = packets.raw_header(pick.choice([20, 20, 20, 21, 100, 1026]), count)
        if count < 2:
            return header
        status = packets.raw_status(pick.choice([9, 9, 16, 8, 1024]), pick.choice([1, 2]))
        if count != 3:
            return header + status
        data = pick.randbytes(pick.choice([0, 1, 50, 300]))
        return header + status + packets.file_head(pick.choice(NAMES), len(data)) + data

    def _tamper(self, data):
        data = bytearray(data)
        for _ in range(self._random.choice([1, 1, 2, 5])):
            self._random.choice([self._set_byte, self._flip_bit, self._set_number, self._insert, self._cut_out,
                                 self._cut_off, self._repeat])(data)
        return bytes(data)

    def _place(self, data):
        # Most of what matters stands in the first bytes of an element.
        return self._random.randrange(min(len(data), self._random.choice([24, 64, 2000])) or 1)

    def _set_byte(self, data):
        if data:
            data[self._place(data)] = self._random.randrange(256)

    def _flip_bit(self, data):
        if data:
            data[self._place(data)] ^= 1 << self._random.randrange(8)

    def _set_number(self, data):
        width = self._random.choice([2, 4])
        place = self._place(data)
        if place + width <= len(data):
            data[place:place + width] = (self._random.choice(EDGES) % (1 << 8 * width)).to_bytes(width, "little")

    def _insert(self, data):
        place = self._place(data)
        data[place:place] = self._random.randbytes(self._random.choice([1, 4, 30]))

    def _cut_out(self, data):
        place = self._place(data)
        del data[place:place + self._random.choice([1, 4, 30])]

    def _cut_off(self, data):
        if self._random.random() < 0.3:
            del data[self._place(data):]

    def _repeat(self, data):
        if self._random.random() < 0.3:
            data.extend(bytes(data))
