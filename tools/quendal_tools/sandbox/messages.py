"""Requests between the test process and the sandbox's agents: one JSON object and some descriptors each."""

import array
import json
import os
import socket

_MAX_MESSAGE = 256 * 1024
_MAX_DESCRIPTORS = 8


def pair():
    return socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)


def send(channel, message, descriptors=()):
    ancillary = []
    if descriptors:
        ancillary = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", descriptors))]
    channel.sendmsg([json.dumps(message).encode()], ancillary, socket.MSG_NOSIGNAL)


def receive(channel):
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


def close_all(descriptors):
    for descriptor in descriptors:
        os.close(descriptor)
