"""What happens to a board's eth0 while its link stays up: another address, or another interface of that name."""

import struct
import subprocess

from quendal_tools.board.waiting import wait_until
from support import multicast

NOTICED = 8  # a cycle of the maintenance task, on a machine with other things to do


def line(address):
    """What the service says of it."""
    return f"\nNetwork address has changed, eth0:{address}"


def address(board, action, which):
    board.run(["ip", "address", action, f"{which}/24", "broadcast", "+", "dev", "eth0"], check=True)


def change_address(board, new):
    board.run(["sh", "-ec", f"""
        ip address del {board.address}/24 dev eth0
        ip address add {new}/24 broadcast + dev eth0
        ip route add default via {board.pc.address}"""], check=True)
    has_moved(board, new)


def has_moved(board, new):
    """Whoever speaks to the board, or of it, has to know."""
    board.pc.move_board(board.address, new)
    board.address = new


def replace_interface(board, *commands):
    """Takes eth0 away and puts another one in its place within milliseconds; the commands, such as
    "link set eth0 up", follow at once."""
    _plug_spare(board)
    words = ["link del eth0", "link set spare name eth0", *commands]
    board.run(["sh", "-ec", "".join(f"ip {each}\n" for each in words)], check=True)


def take_interface(board):
    board.run(["ip", "link", "del", "eth0"], check=True)


def return_interface(board):
    _plug_spare(board)
    board.run(["ip", "link", "set", "spare", "name", "eth0"], check=True)


def _plug_spare(board):
    cable = board.cable_name + "b"
    board.pc.run(["ip", "link", "add", cable, "type", "veth", "peer", "name", "spare", "address",
                  board.hardware_address, "netns", _process_at_the_pc(board)], check=True)
    board.pc.run(["ip", "link", "set", cable, "master", "br0", "up"], check=True)
    board.cable_name = cable


def _process_at_the_pc(board):
    """The number of the board's first process as the PC's side knows it."""
    with open(f"/proc/{board.pid}/status") as file:
        numbers = next(each.split()[1:] for each in file if each.startswith("NSpid:"))
    return numbers[-2]


def interface_index(board):
    return int(board.run(["cat", "/sys/class/net/eth0/ifindex"], check=True).stdout)


def relaunch(rig, binary):
    """Has the relaunch hour come now: it is asked for in the service's memory, since nobody moves a board's clock."""
    mark = rig.service.mark()
    poke(rig.service, binary, "quendal::shared::lastRelaunchHour", -1)
    poke(rig.service, binary, "quendal::shared::mcRstHrFactor", 1)
    rig.service.wait_for("relauching", after=mark, timeout=20)
    multicast.await_resumed(rig, mark)


def poke(service, binary, variable, value):
    symbols = subprocess.run(["nm", "-C", binary], check=True, capture_output=True, text=True).stdout
    offset = next(int(each.split()[0], 16) for each in symbols.splitlines() if each.endswith(" " + variable))
    with open(f"/proc/{service.pid}/maps") as file:
        base = next(int(each.partition("-")[0], 16) for each in file if each.endswith(f"/{binary.name}\n"))
    with open(f"/proc/{service.pid}/mem", "r+b", buffering=0) as memory:
        memory.seek(base + offset)
        memory.write(struct.pack("<i", value))


def await_heartbeat(transmitter, source, timeout=40):
    """Waits for a heartbeat that comes from there."""
    wait_until(lambda: transmitter.heard(timeout)[:2] == (multicast.HEARTBEAT, source), timeout, "the heartbeat")
