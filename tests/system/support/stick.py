"""A technician's stick on a board: what the kernel lists, and a mount that really attaches its folders.

A board of namespaces has no kernel of its own to plug a drive into and may not mount a FAT file system.
So a stick is written into the board's own two lists of drives, and a mount of a FAT file system attaches
the stick's folder instead; releasing it is the real thing.
"""

import contextlib

from quendal_tools.board import stick_console
from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.sandbox.board_files import PARTITIONS_HEAD
from quendal_tools.sandbox.board_root import BLOCK_DEVICES, PARTITIONS

SERVED_SECONDS = 40
NEXT_CYCLE_SECONDS = 30
RESTART = "sudo systemctl reboot -i"

_PLACE = "/opt/board/stick"
_MEMORY_CARD = ["mmcblk0", "mmcblk0p1"]
_MOUNT = f"""#!/bin/sh
[ "$1 $2 $4" = "-t vfat -w" ] || exec /usr/bin/mount "$@"
exec /usr/bin/mount --bind {_PLACE} "$5"
"""
# What it says about a folder where nothing is mounted would stand in the middle of the service's texts.
_UNMOUNT = """#!/bin/sh
exec /usr/bin/umount "$@" 2>/dev/null
"""
_NETWORK_COMMANDS = ("sudo ifconfig", "sudo dhcpcd", "sudo ip ", "sudo rm -Rf /var/lib/dhcpcd/")


class Stick:
    def __init__(self, board):
        self._board = board
        board.path(_PLACE).mkdir()
        board.replace_command("mount", _MOUNT)
        board.replace_command("umount", _UNMOUNT)

    def refuse_mounts(self):
        self._board.replace_command("mount", "#!/bin/sh\nexit 32\n")

    def refuse_releases(self):
        self._board.replace_command("umount", "#!/bin/sh\nexit 32\n")

    def allow_releases(self):
        self._board.replace_command("umount", _UNMOUNT)

    def path(self, name=""):
        """Where the host keeps a file of the stick."""
        return self._board.path(f"{_PLACE}/{name}")

    def make_folder(self, *names):
        for name in names:
            self.path(name).mkdir(parents=True)

    def write(self, name, content):
        self._board.write(f"{_PLACE}/{name}", content)

    def write_folder(self, folder, file_list, files):
        """A configuration folder with its list file."""
        self.write(f"KVCFG/{folder}/{LIST_NAME}", f"[new_local_dist_task]\nfileList = {file_list}\n")
        for name, content in files.items():
            self.write(f"KVCFG/{folder}/{name}", content)

    def plug(self, *names):
        """The kernel has registered these, beside the board's own memory card."""
        self._list([*_MEMORY_CARD, *names])
        for name in [*_MEMORY_CARD, *names]:
            self._board.path(f"{BLOCK_DEVICES}/{name}").mkdir(exist_ok=True)

    def pull(self):
        for entry in self._board.path(BLOCK_DEVICES).iterdir():
            entry.rmdir()
        self._list([])

    def _list(self, names):
        lines = [f"{8:4} {number:8} {1024:10} {name}\n" for number, name in enumerate(names)]
        self._board.write(PARTITIONS, PARTITIONS_HEAD + "".join(lines))


def start_with_stick(make_rig, prepare=lambda drive: None, names=("sda", "sda1"), before_start=lambda board: None):
    """Starts the service on a board with a stick in it, prepared as the test says; the rig and the stick."""
    drives = []

    def set_up(board):
        drives.append(Stick(board))
        prepare(drives[0])
        drives[0].plug(*names)
        before_start(board)

    return make_rig(before_start=set_up), drives[0]


def echoed(*names):
    """What is written while the partitions up to the stick's are read, the memory card's first."""
    texts = [f"\r\n{8:4} {number:8} {1024:10} {name}\n\r\n8,{number},1024,{name}"
             for number, name in enumerate([*_MEMORY_CARD, *names])]
    return "".join(texts)


def attached(name="sda1"):
    """All that is written from the first look at the partitions to the mount of a stick with a partition."""
    return echoed("sda", name) + 2 * stick_console.found(name) + stick_console.mounting(name)


def mount_commands(name="sda1"):
    return [f"sudo umount /data/home/{name}", f"sudo umount /data/home/{name}", f"sudo mkdir -p /data/home/{name}",
            f"sudo mount -t vfat /dev/{name} -w /data/home/{name}"]


def commands_of(rig):
    """The commands so far without those that look after the network."""
    return [text for _, text in rig.board.commands() if not text.startswith(_NETWORK_COMMANDS)]


def times_of(rig, command):
    return [moment for moment, text in rig.board.commands() if text == command]


def assert_woken(rig, *names):
    """The stick has woken the display by exactly these, and the link once.

    The service looks at the link some milliseconds after the last of them, so a busy display may notice that first.
    """
    with contextlib.suppress(TimeoutError):
        wait_until(lambda: len(rig.display.names()) > len(names), 10, "the last wake-up")
    assert rig.display.names().count("NETW_UP") == 1
    assert [name for name in rig.display.names() if name != "NETW_UP"] == list(names)


def in_target(rig):
    """The names in the target directory."""
    return sorted(entry.name for entry in rig.board.path(TARGET).iterdir())
