"""An emulated board: a real kernel with real hardware to plug and pull, on which nothing is faked.

    with EmulatedBoard("build/release/Quendal_L") as board:
        service = board.start_service()
        board.display.wait_for("NETW_UP", timeout=60)
        board.plug(StickImage.create("stick.img", {"KVLOG": None}))
        board.wait_for_reboot(120)

The service's commands have their full effect here, and none leaves the machine: its network ends in QEMU,
which answers DHCP and forwards one port of this machine's loopback to the service.
"""

import contextlib
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import time
from collections.abc import Mapping
from typing import Self

from quendal_tools.board.display_watch import DisplayWatch
from quendal_tools.board.layout import BIN, MAKER_WORK, TARGET, example_configuration
from quendal_tools.board.service import Service
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.configuration.ini_text import Overrides
from quendal_tools.configuration.places import TOOLS
from quendal_tools.emulator import guest_system
from quendal_tools.emulator.guest_channel import GuestChannel
from quendal_tools.emulator.initramfs import Initramfs
from quendal_tools.emulator.qmp import Qmp, QmpError
from quendal_tools.stick.image import StickImage

GUEST_FILES = TOOLS / "emulator/guest"

_PROGRAMS = ("qemu-system-x86_64", "mkfs.vfat", "mcopy")
_START_TIMEOUT = 30
_BOOT_TIMEOUT = 180
# The kernel's test of the timer waits for ticks that come too late when the machine is busy, and gives up the start.
_KERNEL_OPTIONS = "console=ttyS0 quiet mitigations=off panic=-1 no_timer_check"
_PORTS = ("commands", "errors", "display")
_FORWARDING_ATTEMPTS = 10


class EmulatorUnavailable(Exception):
    """This machine has not what an emulated board needs."""


def check_available() -> None:
    """Says by EmulatorUnavailable what is missing here."""
    missing = [program for program in _PROGRAMS if not shutil.which(program)]
    if missing:
        raise EmulatorUnavailable(f"An emulated board needs {', '.join(missing)}; see tools/emulator/prepare.")
    if not guest_system.is_ready():
        raise EmulatorUnavailable("The emulated board's system has not been made yet; see tools/emulator/prepare.")


class EmulatedBoard:
    """A board that has booted; semwatch, the display's stand-in, is expected beside the service's binary.

    ini        keys of Quendal_L.ini to change, as {"lcdDataPort": 4000, "ethernet.interface": None}
    files      more files by their path on the board: text or bytes
    mebibytes  the board's memory, half of which its file system may take
    """

    display: DisplayWatch
    _qemu: subprocess.Popen[bytes]
    _qmp: Qmp
    _commands: GuestChannel

    def __init__(self, binary: str | pathlib.Path, *, ini: Overrides | None = None,
                 files: Mapping[str, str | bytes] | None = None, mebibytes: int = 512) -> None:
        check_available()
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="quendal-emulator-"))
        self._mebibytes = mebibytes
        self._closing = contextlib.ExitStack()
        self._closing.callback(shutil.rmtree, self.directory, ignore_errors=True)
        started = time.monotonic()
        try:
            self._write_system(pathlib.Path(binary), {**example_configuration(ini or {}), **(files or {})})
            self._start_qemu()
            self._await_start()
        except BaseException:
            self.close()
            raise
        self.boot_seconds = time.monotonic() - started

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Switches the board off and removes its files."""
        self._closing.close()

    def run(self, command: str, timeout: float = 60) -> tuple[int, str]:
        """Has the board's bash run a command, as root; returns its status and its output, both streams together."""
        return self._commands.run(command, timeout)

    def start_service(self) -> Service:
        """Starts the display's stand-in and then the service, whose output is caught in one stream."""
        status, output = self.run("systemctl start Quendal_L")
        if status != 0:
            raise OSError(f"the service does not start: {output}")
        self.display = DisplayWatch(None, self._output("display"))
        return Service(self, self._output("errors"), self._output("errors"))

    def connect(self, timeout: float = 10) -> socket.socket:
        """A TCP connection to the service. Only what is read from it tells whether somebody listens there."""
        return socket.create_connection(("127.0.0.1", self._forwarded_port), timeout)

    def link(self, up: bool) -> None:
        """Plugs the network cable in or pulls it out."""
        self._qmp.command("set_link", name="eth", up=up)

    def plug(self, stick: StickImage) -> None:
        """Plugs a stick in; what is written to it is in its image at once."""
        self._qmp.command("blockdev-add", driver="raw", node_name="stick",
                          file={"driver": "file", "filename": str(stick.path)})
        self._qmp.command("device_add", driver="usb-storage", id="plugged", drive="stick", bus="usb.0")

    def unplug(self) -> None:
        """Pulls the stick out without a word to anybody."""
        self._qmp.command("device_del", id="plugged")
        self._qmp.wait_for_event("DEVICE_DELETED", _START_TIMEOUT, device="plugged")
        self._qmp.command("blockdev-del", node_name="stick")

    def wait_for_reboot(self, timeout: float) -> None:
        """Waits until the machine resets itself; it stays off then."""
        self._qmp.wait_for_event("SHUTDOWN", timeout, guest=True, reason="guest-reset")

    def alive(self) -> bool:
        return self._qemu.poll() is None

    @property
    def returncode(self) -> int | None:
        return self._qemu.returncode

    def console_text(self) -> str:
        """What kernel and systemd have said."""
        return self._output("console").read_text(errors="replace")

    def _await_start(self) -> None:
        try:
            self.run("true", _BOOT_TIMEOUT)
        except TimeoutError as error:
            raise TimeoutError(f"the emulated board does not start; it has said:\n{self.console_text()}") from error

    def _output(self, name: str) -> pathlib.Path:
        return self.directory / name

    def _write_system(self, binary: pathlib.Path, files: Mapping[str, str | bytes]) -> None:
        """Debian's part of the file system comes first, ours is laid over it."""
        with (self.directory / "initramfs").open("wb") as file:
            with guest_system.base().open("rb") as base:
                shutil.copyfileobj(base, file, 1 << 20)
            archive = Initramfs(file)
            for path in sorted(GUEST_FILES.rglob("*")):
                if path.is_file():
                    _add_copy(archive, path.relative_to(GUEST_FILES), path)
            archive.link("init", "usr/lib/systemd/systemd")
            for directory in (TARGET, MAKER_WORK, "/var/lib/dhcpcd"):
                archive.directory(directory)
            _add_copy(archive, f"{BIN}/Quendal_L", binary)
            _add_copy(archive, "/usr/lib/board/semwatch", binary.with_name("semwatch"))
            for name, content in files.items():
                archive.file(name, content)
            archive.close()

    def _start_qemu(self) -> None:
        with self._output("qemu-errors").open("wb") as errors:
            self._qemu = subprocess.Popen(
                ["setpriv", "--pdeathsig", "KILL", *self._qemu_command()], stdin=subprocess.DEVNULL,
                stdout=errors, stderr=errors)
        self._closing.callback(self._stop_qemu)
        try:
            self._qmp = Qmp(self.directory / "qmp", _START_TIMEOUT)
            self._closing.callback(self._qmp.close)
            self._forwarded_port = self._forward_port(DATA_PORT)
            self._commands = GuestChannel(self.directory / "commands")
            self._closing.callback(self._commands.close)
        except (TimeoutError, OSError) as error:
            told = self._output("qemu-errors").read_text().strip()
            raise QmpError(f"QEMU does not start: {told or error}") from error

    def _stop_qemu(self) -> None:
        self._qemu.kill()
        self._qemu.wait()

    def _qemu_command(self) -> list[str | pathlib.Path]:
        at = self.directory
        return [
            "qemu-system-x86_64", "-accel", "tcg", "-machine", "q35", "-m", str(self._mebibytes),
            "-nodefaults", "-display", "none",
            "-action", "reboot=shutdown,shutdown=pause,panic=shutdown",
            "-kernel", guest_system.kernel(), "-initrd", at / "initramfs",
            "-append", _KERNEL_OPTIONS,
            "-chardev", f"file,id=console,path={at}/console", "-serial", "chardev:console",
            "-qmp", f"unix:{at}/qmp,server=on,wait=off",
            "-netdev", "user,id=net,restrict=on,ipv6=off", "-device", "e1000,id=eth,netdev=net",
            "-device", "qemu-xhci,id=usb",
            "-device", "virtio-serial-pci",
            "-chardev", f"socket,id=commands,path={at}/commands,server=on,wait=off",
            "-chardev", f"file,id=errors,path={at}/errors",
            "-chardev", f"file,id=display,path={at}/display",
            *(word for port in _PORTS for word in ("-device", f"virtserialport,chardev={port}")),
        ]

    def _forward_port(self, guest_port: int) -> int:
        """Has QEMU forward a free port of the loopback; another program may be faster to take the one found."""
        for _ in range(_FORWARDING_ATTEMPTS):
            with socket.create_server(("127.0.0.1", 0)) as probe:
                port = probe.getsockname()[1]
            answer = self._qmp.command(
                "human-monitor-command", command_line=f"hostfwd_add net tcp:127.0.0.1:{port}-:{guest_port}")
            if not answer:
                return port
        raise QmpError(f"no port can be forwarded: {answer.strip()}")


def _add_copy(archive: Initramfs, path: str | pathlib.Path, source: pathlib.Path) -> None:
    mode = 0o755 if os.access(source, os.X_OK) else 0o644
    archive.file(str(path), source.read_bytes(), mode)
