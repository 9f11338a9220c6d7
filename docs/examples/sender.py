#!/usr/bin/python3
"""Sends files to a display as one transfer until it has stored them: sender.py ADDRESS FILE..."""

import pathlib
import select
import socket
import struct
import sys
import time

PORT, TRIES, GAP_SECONDS, END_SECONDS = 50200, 3, 0.6, 80


def header(elements):
    return struct.pack("<IHBBIII", 20, 0xC55C, elements, 0, 0, 0, 0xA5A58EE8)


def file_packet(name, data):
    status = struct.pack("<IHHB", 9, 1, 0, 1)
    element = struct.pack("<IHHH", 14 + len(name) + len(data), 3, 0, len(name))
    return header(3) + status + element + name.encode("ascii") + struct.pack("<I", len(data)) + data


def has_stored(address, packets):
    with socket.create_connection((address, PORT), timeout=END_SECONDS) as connection:
        connection.sendall(b"".join(packets) + header(1))  # the seal: unread, it turns the end into a reset
        if select.select([connection], [], [], 1)[0]:  # time to arrive; an end by now is no answer to ours
            return False
        connection.shutdown(socket.SHUT_WR)
        return connection.recv(1) == b""


files = [pathlib.Path(word) for word in sys.argv[2:]]
names = "".join(file.name + "\r\n" for file in files).encode("ascii")
transfer = [file_packet("FileList.sys", names), *(file_packet(file.name, file.read_bytes()) for file in files),
            file_packet("kvXferStop.sys", b"")]
for attempt in range(TRIES):
    time.sleep(GAP_SECONDS if attempt else 0)
    try:
        if has_stored(sys.argv[1], transfer):
            sys.exit(0)
    except OSError as error:
        print(f"{sys.argv[1]}: {error}", file=sys.stderr)
sys.exit(f"{sys.argv[1]} has not confirmed that it has stored everything")
