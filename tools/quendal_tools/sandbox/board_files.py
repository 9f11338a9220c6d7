"""What a sandboxed board finds on its file system beside the example configuration: its private /etc, and the
commands that are recorded."""

import pathlib
import shutil

from quendal_tools.board.layout import BIN, DEST, LOG, MAKER_WORK, TARGET, WORK
from quendal_tools.sandbox.board_root import BLOCK_DEVICES, PARTITIONS

_SUDO = pathlib.Path(__file__).with_name("bin") / "sudo"

COMMAND_LOG = "/var/log/commands.log"
COMMANDS = "/opt/board/bin"
PARTITIONS_HEAD = "major minor  #blocks  name\n\n"

_DIRECTORIES = (
    BIN, WORK, DEST, TARGET, LOG, MAKER_WORK, COMMANDS, BLOCK_DEVICES, "/var/lib/dhcpcd", "/var/log", "/run", "/root",
    "/mnt")
_RECORDED_COMMANDS = ("sudo", "sync", "systemctl", "reboot", "shutdown", "poweroff", "halt")
_COPIED_ETC = ("nsswitch.conf", "services", "protocols", "localtime", "ld.so.conf", "debian_version")

# Only root is known on the board: there is no second user that the DHCP client could become in a
# user namespace of one user, and without an entry for it the client stays what it is.
_ETC = {
    "passwd": "root:x:0:0:root:/root:/bin/sh\n",
    "group": "root:x:0:\n",
    "hosts": "127.0.0.1 localhost\n",
    "resolv.conf": "",
    # The probe for a second user of the address takes five seconds, and this network has none.
    "dhcpcd.conf": "hostname\noption domain_name_servers, domain_name\nrequire dhcp_server_identifier\nnoarp\n",
}


def make(root: pathlib.Path) -> None:
    """Fills an empty directory with all that is the same on every board."""
    for name in _DIRECTORIES:
        (root / name.lstrip("/")).mkdir(parents=True, exist_ok=True)
    (root / "tmp").mkdir(mode=0o1777)
    _make_etc(root / "etc")
    (root / COMMAND_LOG.lstrip("/")).touch()
    (root / PARTITIONS.lstrip("/")).write_text(PARTITIONS_HEAD)
    (root / "var/run").symlink_to("/run")
    commands = root / COMMANDS.lstrip("/")
    shutil.copy2(_SUDO, commands / "sudo")
    for name in _RECORDED_COMMANDS[1:]:
        (commands / name).symlink_to("sudo")


def _make_etc(directory: pathlib.Path) -> None:
    directory.mkdir()
    for name, text in _ETC.items():
        (directory / name).write_text(text)
    for name in _COPIED_ETC:
        source = pathlib.Path("/etc", name)
        if source.exists():
            shutil.copy2(source, directory / name)


def dhcpcd_stand_in(address: str, gateway: str, status: int) -> str:
    """A script in place of the DHCP client: sets the address, or fails with a status other than 0."""
    lines = ["#!/bin/sh"]
    if status == 0:
        lines += [f"ip address replace {address}/24 broadcast + dev eth0",
                  f"ip route replace default via {gateway}"]
    return "\n".join([*lines, f"exit {status}", ""])
