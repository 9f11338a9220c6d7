"""What some systems can tell about a connection or an interface, and others cannot.

Everything a PC gets runs on Windows as well, so whatever is found on some systems only is asked for here, and
nowhere else.
"""

import re
import socket
import struct

try:
    import fcntl
    import termios
except ImportError:  # Windows
    _IOCTLS = False
else:
    _IOCTLS = True

_SIOCGIFADDR = 0x8915
# struct tcp_info of Linux: the smoothed round trip in microseconds.
_ROUND_TRIP_AT = 68
_TCP_INFO_LENGTH = 104


def unacknowledged(connection: socket.socket) -> int | None:
    """How many bytes sent the other side's system does not have yet; None where nobody knows."""
    if not _IOCTLS:
        return None
    return struct.unpack("i", fcntl.ioctl(connection, termios.TIOCOUTQ, bytes(4)))[0]


def round_trip(connection: socket.socket) -> float | None:
    """The seconds that the network takes there and back, as TCP has measured it; None where it is not told."""
    option = getattr(socket, "TCP_INFO", None)
    if option is None:
        return None
    try:
        info = connection.getsockopt(socket.IPPROTO_TCP, option, _TCP_INFO_LENGTH)
        return struct.unpack_from("I", info, _ROUND_TRIP_AT)[0] / 1e6 or None
    except (OSError, struct.error):
        return None


def keep_alive(connection: socket.socket, seconds: int) -> None:
    """Has the system notice within about twice that time that the other side has gone without a word."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_KEEPALIVE, 1)
    for name, value in (("TCP_KEEPIDLE", seconds), ("TCP_KEEPINTVL", max(1, seconds // 3)), ("TCP_KEEPCNT", 3)):
        if hasattr(socket, name):
            connection.setsockopt(socket.IPPROTO_TCP, getattr(socket, name), value)


def address_of(interface: str, any_socket: socket.socket) -> str:
    """The IPv4 address of an interface that is named, or given by that address already."""
    if re.fullmatch(r"[0-9.]+", interface):
        return interface
    if not _IOCTLS:
        raise OSError(f"interface {interface}: give its IPv4 address; this system does not look names up")
    question = struct.pack("16s240x", interface.encode()[:15])
    try:
        return socket.inet_ntoa(fcntl.ioctl(any_socket, _SIOCGIFADDR, question)[20:24])
    except OSError as error:
        raise OSError(error.errno, f"interface {interface}: {error.strerror}") from None
