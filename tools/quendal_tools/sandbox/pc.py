"""The PC's side of a board's network, on which transmitters run."""

import os
import pathlib
import subprocess
import tempfile
from collections.abc import Iterable

from quendal_tools.configuration.example import GATEWAY
from quendal_tools.configuration.places import TOOLS
from quendal_tools.sandbox import messages
from quendal_tools.sandbox.namespace import Namespace, Process, SandboxError, Socket

# The bridge has an address of its own: it would otherwise take a new one with every board.
_NETWORK = (
    "link set lo up",
    "link add br0 address 02:00:00:00:00:01 type bridge stp_state 0 forward_delay 0 mcast_snooping 0",
    "link set br0 up",
    "address add {address}/24 dev br0",
    "route add 224.0.0.0/4 dev br0",
)
_KEEPER = "from quendal_tools.sandbox.agent import main; main()"


class SandboxUnavailable(SandboxError):
    """This machine's kernel does not let this user make a board."""


class Pc(Namespace):
    """A PC and a bridge into which boards are plugged; its programs see the host's files and this network only."""

    def __init__(self, address: str = GATEWAY, base_dir: str | None = None) -> None:
        self.address = address
        self.directory = pathlib.Path(tempfile.mkdtemp(prefix="quendal-board-", dir=base_dir))
        self._boards: list[str] = []
        ours, theirs = messages.pair()
        super().__init__(ours)
        with theirs:
            self._keeper = subprocess.Popen(
                ["/usr/bin/python3", "-S", "-c", _KEEPER, str(theirs.fileno()), str(os.getpid()), self.directory],
                env={"PYTHONPATH": str(TOOLS), "PYTHONDONTWRITEBYTECODE": "1"},
                pass_fds=[theirs.fileno()], start_new_session=True, stdin=subprocess.DEVNULL)
        try:
            self.await_set_up(network=[line.format(address=address) for line in _NETWORK])
        except SandboxError as error:
            self.close()
            raise SandboxUnavailable(
                "This kernel does not let this user make a sandboxed board, for which user, mount, network "
                f"and process namespaces are needed: {error}.") from error

    def __enter__(self) -> "Pc":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def close(self) -> None:
        """Ends everything on this network, boards included, and removes their files."""
        super().close()
        self._keeper.wait()

    def add_board(self, address: str) -> tuple[str, pathlib.Path]:
        """A name and a place on the host for one more board."""
        with self._lock:
            self._boards.append(address)
            cable = f"cable{len(self._boards)}"
        return cable, self.directory / cable

    def move_board(self, address: str, new: str) -> None:
        """A board is to be found at another address from now on."""
        self._boards[self._boards.index(address)] = new

    def connect(self, port: int, host: str | None = None, timeout: float = 10) -> Socket:
        """A TCP connection from the PC, to its first board unless another host is named."""
        connection = self.socket()
        try:
            connection.settimeout(timeout)
            connection.connect((host or self._boards[0], port))
        except OSError:
            connection.close()
            raise
        return connection

    def start_dhcp_server(self, leases: Iterable[tuple[str, str]] = (), lease_time: str = "2m") -> Process:
        """A DHCP server for the subnet, without DNS; leases are (hardware address, IPv4 address) pairs."""
        network = self.address.rpartition(".")[0]
        with (self.directory / "dnsmasq.log").open("ab") as log:
            return self.popen(
                ["dnsmasq", "--no-daemon", "--conf-file=/dev/null", "--port=0", "--interface=br0",
                 "--bind-interfaces", "--dhcp-authoritative", "--no-ping", "--user=root", "--group=root",
                 f"--dhcp-range={network}.100,{network}.199,255.255.255.0,{lease_time}",
                 f"--dhcp-option=3,{self.address}", "--pid-file=",
                 f"--dhcp-leasefile={self.directory}/dnsmasq.leases",
                 *(f"--dhcp-host={hardware},{address}" for hardware, address in leases)],
                stdout=log, stderr=subprocess.STDOUT)
