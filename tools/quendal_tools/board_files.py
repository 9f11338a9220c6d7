"""What a board finds on its file system: its private /etc and the working tree with the example configuration."""

import pathlib
import re
import shutil

from quendal_tools.board_root import BLOCK_DEVICES, PARTITIONS

TOOLS = pathlib.Path(__file__).resolve().parent.parent
EXAMPLE = TOOLS / "example"

APPLICATION = "/data/app/kavenor"
BIN = APPLICATION + "/bin"
WORK = APPLICATION + "/Work"
DEST = APPLICATION + "/Dest"
TARGET = APPLICATION + "/Target"
LOG = "/data/app/Log"
MAKER_WORK = "/data/home/kavenor/Work"
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


def make(root):
    """Fills an empty directory with all that is the same on every board."""
    for name in _DIRECTORIES:
        (root / name.lstrip("/")).mkdir(parents=True, exist_ok=True)
    (root / "tmp").mkdir(mode=0o1777)
    _make_etc(root / "etc")
    (root / COMMAND_LOG.lstrip("/")).touch()
    (root / PARTITIONS.lstrip("/")).write_text(PARTITIONS_HEAD)
    (root / "var/run").symlink_to("/run")
    commands = root / COMMANDS.lstrip("/")
    shutil.copy2(TOOLS / "quendal_tools/board_bin/sudo", commands / "sudo")
    for name in _RECORDED_COMMANDS[1:]:
        (commands / name).symlink_to("sudo")


def _make_etc(directory):
    directory.mkdir()
    for name, text in _ETC.items():
        (directory / name).write_text(text)
    for name in _COPIED_ETC:
        source = pathlib.Path("/etc", name)
        if source.exists():
            shutil.copy2(source, directory / name)


def example_configuration(overrides, static_address=None):
    """The example configuration as a mapping from path to text; overrides are for Quendal_L.ini."""
    files = {
        WORK + "/Quendal_L.ini": with_keys((EXAMPLE / "Quendal_L.ini").read_text(), overrides),
        WORK + "/KvId.ini": (EXAMPLE / "KvId.ini").read_text(),
        WORK + "/CurLayOut.cfg": (EXAMPLE / "CurLayOut.cfg").read_text(),
    }
    if static_address:
        files[WORK + "/IPAddress.ini"] = static_configuration(*static_address)
    return files


def static_configuration(address, gateway):
    keys = {"IP": address, "DefaultGateway": gateway, "DNS": gateway}
    return with_keys((EXAMPLE / "IPAddress.ini").read_text(), keys)


def with_keys(text, overrides):
    """An ini text with some keys changed, added, or (value None) taken out.

    A key is "key" in the section "Tessane Param" (or in a file without sections), or "section.key".
    """
    for name, value in overrides.items():
        section, _, key = name.rpartition(".")
        line = None if value is None else f"{key} = {value}"
        if not section:
            section = "Tessane Param" if "[Tessane Param]" in text else ""
        text = _with_line(text, section, key, line)
    return text


def _with_line(text, section, key, line):
    kept, current, done = [], "", line is None
    for old in text.splitlines():
        if old.startswith("["):
            if current == section and not done:
                kept.append(line)
                done = True
            current = old.strip().strip("[]")
        if current == section and re.match(rf"{re.escape(key)}\s*=", old):
            if done:
                continue
            old, done = line, True
        kept.append(old)
    if not done:
        kept += [line] if current == section else [f"[{section}]", line]
    return "\n".join(kept) + "\n"


def dhcpcd_stand_in(address, gateway, status):
    """A script in place of the DHCP client: sets the address, or fails with a status other than 0."""
    lines = ["#!/bin/sh"]
    if status == 0:
        lines += [f"ip address replace {address}/24 broadcast + dev eth0",
                  f"ip route replace default via {gateway}"]
    return "\n".join([*lines, f"exit {status}", ""])
