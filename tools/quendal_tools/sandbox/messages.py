"""Requests between the test process and the sandbox's agents: one JSON object and some descriptors each."""

import array
import json
import os
import socket
from collections.abc import Iterable, Sequence

Message = dict

_MAX_MESSAGE = 256 * 1024
_MAX_DESCRIPTORS = 8


def pair() -> tuple[socket.socket, socket.socket]:
    return socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)


def send(channel: socket.socket, message: Message, descriptors: Sequence[int] = ()) -> None:
    rights = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", descriptors))] if descriptors else []
    channel.sendmsg([json.dumps(message).encode()], rights, socket.MSG_NOSIGNAL)


def receive(channel: socket.socket) -> tuple[Message | None, list[int]]:
    """The next message and its descriptors; (None, []) when the other side is gone."""
    numbers = array.array("i")
    space = socket.CMSG_LEN(_MAX_DESCRIPTORS * numbers.itemsize)
    try:
        data, ancillary, _, _ = channel.recvmsg(_MAX_MESSAGE, space, socket.MSG_CMSG_CLOEXEC)
    except ConnectionResetError:
        data, ancillary = b"", []
    for level, kind, content in ancillary:
        if level == socket.SOL_SOCKET and kind == socket.SCM_RIGHTS:
            numbers.frombytes(content[:len(content) - len(content) % numbers.itemsize])
    if not data:
        close_all(numbers)
        return None, []
    return json.loads(data), list(numbers)


def close_all(descriptors: Iterable[int]) -> None:
    for descriptor in descriptors:
        os.close(descriptor)
