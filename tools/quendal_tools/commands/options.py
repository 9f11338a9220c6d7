"""Options that several commands share, and the kinds of their values."""

import argparse

from quendal_tools.configuration.example import GROUP


def number(text: str) -> int:
    if not text.isascii() or not text.isdecimal() or int(text) > 0xFFFF:
        raise argparse.ArgumentTypeError(f"not a number from 0 to 65535: {text}")
    return int(text)


def count(text: str) -> int:
    value = number(text)
    if value == 0:
        raise argparse.ArgumentTypeError("not a number from 1 to 65535: 0")
    return value


def positive(text: str) -> float:
    try:
        seconds = float(text)
    except ValueError:
        raise argparse.ArgumentTypeError(f"not a time: {text}") from None
    if not 0 < seconds < float("inf"):
        raise argparse.ArgumentTypeError(f"not a time above 0: {text}")
    return seconds


def add_network(parser: "argparse._ActionsContainer") -> None:
    """Where a discovery asks; the group's port has another name in each command."""
    parser.add_argument("--interface", metavar="NAME|ADDRESS",
                        help="the interface towards the displays, instead of the routing table's choice")
    parser.add_argument("--address", default=GROUP, help="multicast group, lcdMcastIp (%(default)s)")
    parser.add_argument("--server-port", type=number, default=0, metavar="PORT",
                        help="TCP port for the replies (any free one)")
    parser.add_argument("--ttl", type=number, default=1, help="routers that a request may pass, plus 1 (1)")
