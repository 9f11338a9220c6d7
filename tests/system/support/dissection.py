"""What passes between a PC and its boards, captured by dumpcap and told by tshark with our dissector.

dumpcap captures on the PC's side as whoever runs the tests: it needs no rights but those that a sandbox gives.
"""

import contextlib
import pathlib
import signal
import socket
import subprocess

from quendal_tools.board.waiting import wait_until

DISSECTOR = pathlib.Path(__file__).resolve().parents[3] / "tools/lcdpacket.lua"
# Ports to which no protocol of tshark's own lays claim, so that it never tries another one first.
FREE_PORTS = range(50300, 51000)

FIELDS = (
    "header.length", "mark", "element_count", "header.reserved", "word_a", "word_b", "signature", "header.rest",
    "status.length", "status.kind", "command", "status.flag", "unit", "column", "group", "file.length", "file.kind",
    "file.name_length", "file.name", "file.data_length", "file.data", "descriptor")

_LAST_FRAME = b"the end of the capture"
_ELSEWHERE = ("239.255.77.99", 9)


def use_ports(place, ports):
    """From now on, sockets of that place get one of these ports, a range, as their own."""
    place.run(["sh", "-c", f"echo {ports[0]} {ports[-1]} >/proc/sys/net/ipv4/ip_local_port_range"], check=True)


@contextlib.contextmanager
def capturing(pc, path):
    """Captures all that passes the PC's bridge into a file until the end of the block."""
    messages = pc.directory / "dumpcap.log"
    with messages.open("wb") as log:
        dumpcap = pc.popen(["dumpcap", "-q", "-i", "br0", "-w", path], stdout=log, stderr=log)
    wait_until(lambda: b"File: " in messages.read_bytes() or not dumpcap.alive(), 10, "the capture's start")
    assert dumpcap.alive(), messages.read_text()
    try:
        yield
        with pc.socket(socket.SOCK_DGRAM) as sender:
            sender.sendto(_LAST_FRAME, _ELSEWHERE)
        wait_until(lambda: _LAST_FRAME in path.read_bytes(), 10, "the capture's last frame")
    finally:
        dumpcap.terminate(signal.SIGINT)
        status = dumpcap.wait(10)
    assert status == 0, messages.read_text()


def tshark(capture, *arguments, dissector=("-X", f"lua_script:{DISSECTOR}"), env=None):
    """What tshark prints about a capture; it must have nothing to complain about."""
    told = subprocess.run(["tshark", *dissector, "-r", capture, *arguments], capture_output=True, text=True, env=env)
    complaints = [line for line in told.stderr.splitlines() if not line.startswith("Running as user")]
    assert (told.returncode, complaints) == (0, [])
    return told.stdout


def frames(capture, display_filter, *names, options=()):
    """The frames that pass the filter, each as {field: text} with the named fields that it has.

    A field that is in a frame several times is one text with commas.
    """
    wanted = [word for name in names for word in ("-e", name)]
    lines = tshark(capture, *options, "-Y", display_filter, "-T", "fields", *wanted).splitlines()
    return [{name: text for name, text in zip(names, line.split("\t"), strict=True) if text} for line in lines]


def packets(capture, display_filter="lcdpacket", options=()):
    """The transfer packets of each frame that passes the filter, in all their fields."""
    prefix = "lcdpacket."
    told = frames(capture, display_filter, *(prefix + name for name in FIELDS), options=options)
    return [{name.removeprefix(prefix): text for name, text in frame.items()} for frame in told]


def marks(capture, display_filter, options=()):
    """What is said to be wrong with each frame that passes the filter, None where nothing is."""
    told = frames(capture, display_filter, "_ws.expert.message", "_ws.col.Info", options=options)
    return [_mark(frame.get("_ws.expert.message", ""), frame["_ws.col.Info"]) for frame in told]


def _mark(expert, info):
    """The dissector's own expert messages; the list of packets must tell the same."""
    ours = [text.removeprefix("Malformed: ") for text in expert.split(",") if text.startswith("Malformed: ")]
    reason = "; ".join(ours) or None
    assert f"[malformed: {reason}]" in info if ours else "malformed:" not in info
    return reason
