"""A board on your desk: the service's machine, made from Linux namespaces, and its cable to a PC.

    with Board() as board:
        display = board.display()
        service = board.start_service("build/release/Quendal_L", env=display.env)
        display.wait_for("NETW_UP")
        connection = board.pc.connect(DATA_PORT)

Nothing of the host can be changed from within a board, and nothing is left of it afterwards.
"""

import itertools
import pathlib
import shutil
from collections.abc import Mapping, Sequence

from quendal_tools.board.display_watch import DisplayWatch
from quendal_tools.board.layout import BIN, example_configuration
from quendal_tools.board.service import Service
from quendal_tools.configuration.example import ADDRESS, GATEWAY
from quendal_tools.configuration.ini_text import Overrides
from quendal_tools.configuration.places import TOOLS
from quendal_tools.sandbox import board_files, messages
from quendal_tools.sandbox.board_files import COMMANDS, COMMAND_LOG
from quendal_tools.sandbox.namespace import Namespace, Process, Socket
from quendal_tools.sandbox.pc import Pc

ADDRESS_MODES = ("preset", "static", "dhcp")


class Board(Namespace):
    """One board with its cable plugged in.

    address_mode  "preset": eth0 has its address, and a stand-in for the DHCP client gives it the same again
                  at once (or does nothing but end with dhcpcd_status, if that is not 0);
                  "static": IPAddress.ini is there, and the service sets the address;
                  "dhcp": the real DHCP client asks for it (see start_dhcp_server)
    ini           keys of Quendal_L.ini to change, as {"lcdDataPort": 4000, "ethernet.interface": None}
    files         files by their path on the board: text or bytes, or None for one to leave out
    pc            the network to plug into; without it the board gets one of its own, with pc_address
    base_dir      where the files of board and network are kept on the host, if not the temporary directory
    """

    def __init__(self, *, address: str = ADDRESS, address_mode: str = "preset", dhcpcd_status: int = 0,
                 ini: Overrides | None = None, files: Mapping[str, str | bytes | None] | None = None,
                 pc: Pc | None = None, pc_address: str = GATEWAY, base_dir: str | None = None) -> None:
        if address_mode not in ADDRESS_MODES:
            raise ValueError(f"address_mode is one of {', '.join(ADDRESS_MODES)}")
        self.address = address
        self.address_mode = address_mode
        self.hardware_address = "02:00:" + ":".join(f"{int(part):02x}" for part in address.split("."))
        self.pc = pc or Pc(pc_address, base_dir)
        self._own_pc = pc is None
        self._outputs = itertools.count(1)
        self.cable_name, self.directory = self.pc.add_board(address)
        self._root = self.directory / "root"
        try:
            self._fill(ini or {}, files or {}, dhcpcd_status)
            super().__init__(self._start_agent())
            self.await_set_up()
        except BaseException:
            self._release()
            raise

    def __enter__(self) -> "Board":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Ends everything on the board and removes its files."""
        super().close()
        self._release()

    def _release(self) -> None:
        if self._own_pc:
            self.pc.close()
        shutil.rmtree(self.directory, ignore_errors=True)

    def _fill(self, ini: Overrides, files: Mapping[str, str | bytes | None], dhcpcd_status: int) -> None:
        self._root.mkdir(parents=True)
        board_files.make(self._root)
        if self.address_mode == "preset":
            self.replace_command(
                "dhcpcd", board_files.dhcpcd_stand_in(self.address, self.pc.address, dhcpcd_status))
        static = (self.address, self.pc.address) if self.address_mode == "static" else None
        contents: dict[str, str | bytes | None] = {**example_configuration(ini, static), **files}
        for path, content in contents.items():
            if content is not None:
                self.write(path, content)

    def _start_agent(self) -> Socket:
        network = ["link set lo up"]
        if self.address_mode == "preset":
            network += ["link set eth0 up", f"address add {self.address}/24 broadcast + dev eth0",
                        f"route add default via {self.pc.address}"]
        plan = {"name": "board", "root": str(self._root), "tools": str(TOOLS), "cable": self.cable_name,
                "mac": self.hardware_address, "network": network}
        ours, theirs = messages.pair()
        with theirs:
            self.pc.request([theirs.fileno()], do="board", plan=plan)
        return ours

    def path(self, path: str | pathlib.PurePath) -> pathlib.Path:
        """Where the host keeps a file of the board (not for /usr and the like, nor below mounts made there)."""
        return self._root / str(path).lstrip("/")

    def write(self, path: str, content: str | bytes) -> None:
        """Writes a file, and the directories to it, as text or bytes."""
        file = self.path(path)
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_bytes(content.encode() if isinstance(content, str) else content)

    def replace_command(self, name: str, script: str) -> None:
        """Puts a script of yours before the program of that name on the board's search path."""
        command = self.path(f"{COMMANDS}/{name}")
        fresh = command.with_name(name + ".new")
        fresh.write_text(script)
        fresh.chmod(0o755)
        # Not written in place: the name may be a link to the recording sudo, or the old script be running.
        fresh.replace(command)

    def cable(self, up: bool) -> None:
        """Plugs the board's cable in or pulls it out: eth0 has its carrier or loses it."""
        self.pc.run(["ip", "link", "set", self.cable_name, "up" if up else "down"], check=True)

    def commands(self) -> list[tuple[float, str]]:
        """The commands so far, each as (seconds since 1970, text): what ran by sudo, and every sync and reboot."""
        lines = self.path(COMMAND_LOG).read_text(errors="replace").splitlines()
        pairs = (line.partition("\t") for line in lines)
        return [(float(moment), text) for moment, _, text in pairs]

    def start_dhcp_server(self) -> Process:
        """A real DHCP server on the PC's side that gives this board its address."""
        return self.pc.start_dhcp_server([(self.hardware_address, self.address)])

    def display(self) -> DisplayWatch:
        """Starts a display application that waits on the board; pass its env to the service."""
        output = self._output("display")
        with output.open("wb") as file:
            process = self.popen(["/opt/quendal/tools/display", "--plain"], stdout=file)
        return DisplayWatch(process, output)

    def start_service(self, binary: str | pathlib.Path, *, env: Mapping[str, str] | None = None,
                      args: Sequence[str] = (), wrapper: Sequence[str] = ()) -> Service:
        """Starts the service in its working directory; wrapper words, such as prlimit's, come before it."""
        program = self.install(binary)
        errors, output = self._output("service-stderr"), self._output("service-stdout")
        with errors.open("wb") as stderr, output.open("wb") as stdout:
            process = self.popen([*wrapper, program, *args], env=env, cwd=BIN, stdout=stdout, stderr=stderr)
        return Service(process, errors, output)

    def install(self, binary: str | pathlib.Path) -> str:
        """Copies the service, and the properties file beside it if there is one, to the board; returns its path."""
        binary = pathlib.Path(binary)
        for source in (binary, binary.with_name(binary.name + ".properties")):
            target = self.path(f"{BIN}/{source.name}")
            if source.exists() and not target.exists():
                shutil.copy2(source, target)
        return f"{BIN}/{binary.name}"

    def _output(self, kind: str) -> pathlib.Path:
        return self.directory / f"{kind}-{next(self._outputs)}"
