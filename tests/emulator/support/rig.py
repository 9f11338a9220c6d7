"""An emulated board with its service, and the questions that tests ask it."""

from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol.sending import Transmitter

# Emulation is slow, and slower when several boards start at once.
PATIENCE = 200

_LISTENING = f":{DATA_PORT:04X} 00000000:0000 0A"  # as /proc/net/tcp puts it: nobody connected, listening


class Rig:
    """A board, its display (through the board) and its service, and the stick it was started with."""

    def __init__(self, board, service, stick):
        self.board = board
        self.service = service
        self.stick = stick

    def tell(self, command):
        """What a command prints on the board."""
        return self.board.run(command)[1]

    def await_answer(self, command, answer):
        """Repeats a command on the board until it prints that."""
        wait_until(lambda: self.tell(command) == answer, PATIENCE, f"{answer!r} from {command}", interval=0.5)

    def await_event(self, name, count=1):
        return self.board.display.wait_for(name, count, timeout=PATIENCE)

    def await_text(self, text, after=0):
        return self.service.wait_for(text, timeout=PATIENCE, after=after)

    def await_link(self, count=1):
        """Waits until the link has come up count times in all and the port is open again."""
        self.await_event("NETW_UP", count)
        self.await_answer(f"grep -c '{_LISTENING}' /proc/net/tcp", "1\n")

    def await_reboot(self):
        self.board.wait_for_reboot(PATIENCE)

    def transmitter(self):
        return Transmitter(self.board.connect)

    def stored_sum(self, name):
        """SHA-256 of a file in the target directory."""
        return self.tell(f"sha256sum {TARGET}/{name}").split()[0]

    def mounted(self):
        """Where sticks are mounted, as "device mount-point" lines."""
        return self.tell("grep -o '^/dev/sd[^ ]* [^ ]*' /proc/mounts")

    def keep_log(self, path):
        """Writes down what service and kernel said, what woke the display, and what lies on the stick."""
        path.parent.mkdir(parents=True, exist_ok=True)
        events = "".join(f"{moment:.3f} {name}\n" for moment, name in self.board.display.events())
        parts = {"error stream": self.service.stderr_text(), "wake-ups": events, "console": self.board.console_text()}
        if self.stick:
            parts["stick afterwards"] = self.stick.listing()
        path.write_text("".join(f"===== {title} =====\n{text}\n" for title, text in parts.items()),
                        errors="surrogateescape")
