"""Whether a display has stored what was sent on a connection, found out without a word from it.

A display never sends anything; but how it ends a connection says enough. It handles packet after packet and ends
the connection when it meets the sender's half-close, in order, since nothing is left to read then. A failure makes
it read no further; then it resets the connection, since something is left. The something is the seal: a
packet that is a header alone, of which a display takes no notice, behind the last file.
"""

import errno
import socket
import time

from quendal_tools.protocol import packet, systems
from quendal_tools.protocol.patient import PatientConnection

SEAL = packet.Header.build({"element_count": 1})

# The display waits so long after its failure to store a file before it drops the connection.
FAILED_STORE_SECONDS = 5.0
# A display that drops a connection does it at once, or that long after its failure.
_LATE = FAILED_STORE_SECONDS - 1

_POLL = 0.01
# On systems that do not tell what has been acknowledged: time for it to be.
_BLIND_HOLD = 1.0


class Lost(Exception):
    """There is no receipt: files may have been stored, or not all of them. The text says what happened."""


def await_receipt(connection: PatientConnection, seconds: float, sealed: bool = True) -> None:
    """Returns when all that was sent has been stored; Lost when that cannot be said.

    seconds  how long the display may take for what it has not handled yet
    sealed   False leaves the seal out, for a restart's sake: then nobody can tell whether the last file was stored
    """
    try:
        if sealed:
            connection.sendall(SEAL)
        _hold(connection, seconds)
        connection.socket.shutdown(socket.SHUT_WR)
        if not connection.await_readable(seconds):
            raise Lost(f"the display has not ended the connection within {seconds:g} s")
        connection.socket.recv(1)
    except OSError as error:
        raise Lost(why(error, time.monotonic() - connection.last_moved)) from error


def why(error: OSError, quiet_seconds: float) -> str:
    """What a broken connection means, on which nothing had moved for so long, as words for a person."""
    if isinstance(error, ConnectionRefusedError):
        return "nobody listens on the port: the service does not run, or its link is down"
    if isinstance(error, TimeoutError) or error.errno in (errno.EHOSTUNREACH, errno.ENETUNREACH, errno.EHOSTDOWN):
        return "no answer: switched off, unplugged, or not on this network"
    if not isinstance(error, ConnectionResetError | BrokenPipeError | ConnectionAbortedError):
        return (error.strerror or str(error)).lower()
    if quiet_seconds >= _LATE:
        return "a file could not be stored: its name is refused, its folder is missing, or the disk is full"
    return "the display dropped the connection: another one ended, its link went, or it does not listen to this PC"


def _hold(connection: PatientConnection, seconds: float) -> None:
    """Until the display's system has everything: from then on a connection that is dropped with something unread is
    reset, and never ended in order.

    An end that comes before the half-close is no answer to it.
    """
    begin, last = time.monotonic(), None
    while True:
        left = systems.unacknowledged(connection.socket)
        if connection.await_readable(0 if left == 0 else _POLL):
            connection.socket.recv(1)
            raise Lost("the display ended the connection before the transfer was over: another one ended, or its "
                       "link went")
        now = time.monotonic()
        if left == 0 or (left is None and now >= begin + _BLIND_HOLD):
            return
        if left != last:
            connection.last_moved, last = now, left
        if now >= connection.last_moved + seconds:
            raise Lost(f"the display's network has taken nothing for {seconds:g} s")
        connection.waiting(now - connection.last_moved)
