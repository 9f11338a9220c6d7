"""Steers a running QEMU by its own protocol: commands, answers and events as lines of JSON."""

import json
import pathlib
import socket
import threading
import time
from typing import Any

from quendal_tools.board.waiting import wait_until

Message = dict[str, Any]


class QmpError(Exception):
    """QEMU has refused a command, or has ended."""


class Qmp:
    """A connection to QEMU; events collect from its beginning, whatever else is going on."""

    def __init__(self, path: pathlib.Path, timeout: float) -> None:
        self._socket = socket.socket(socket.AF_UNIX)
        wait_until(lambda: self._connected(path), timeout, "QEMU's control socket")
        self._lines = self._socket.makefile("r", encoding="utf-8")
        self._changed = threading.Condition()
        self._one_at_a_time = threading.Lock()
        self._events: list[Message] = []
        self._replies: list[Message] = []
        self._ended = False
        threading.Thread(target=self._read, daemon=True).start()
        self.command("qmp_capabilities")

    def close(self) -> None:
        self._socket.close()

    def command(self, name: str, /, **arguments: object) -> Any:
        """Carries out a command and returns its result."""
        message = json.dumps({"execute": name, "arguments": {k.replace("_", "-"): v for k, v in arguments.items()}})
        with self._one_at_a_time:
            try:
                self._socket.sendall(message.encode() + b"\n")
            except OSError as error:
                raise QmpError(f"{name}: QEMU has ended") from error
            with self._changed:
                self._changed.wait_for(lambda: bool(self._replies) or self._ended)
                if not self._replies:
                    raise QmpError(f"{name}: QEMU has ended")
                reply = self._replies.pop()
        if "error" in reply:
            raise QmpError(f"{name}: {reply['error']['desc']}")
        return reply["return"]

    def wait_for_event(self, name: str, timeout: float, /, **data: object) -> Message:
        """Waits for the first event of that name with (at least) that data; returns it and forgets it."""
        deadline = time.monotonic() + timeout
        with self._changed:
            while True:
                for event in self._events:
                    if event["event"] == name and data.items() <= event.get("data", {}).items():
                        self._events.remove(event)
                        return event
                remaining = deadline - time.monotonic()
                if remaining <= 0 or self._ended:
                    seen = ", ".join(event["event"] for event in self._events) or "nothing"
                    raise TimeoutError(f"no event {name} {data or ''} from QEMU; it has told of {seen}")
                self._changed.wait(remaining)

    def _connected(self, path: pathlib.Path) -> bool:
        try:
            self._socket.connect(str(path))
        except OSError:
            return False
        return True

    def _read(self) -> None:
        try:
            for line in self._lines:
                self._note(json.loads(line))
        except (OSError, ValueError):
            pass  # the connection was closed in the middle of a line
        with self._changed:
            self._ended = True
            self._changed.notify_all()

    def _note(self, message: Message) -> None:
        with self._changed:
            if "event" in message:
                self._events.append(message)
            elif "QMP" not in message:
                self._replies.append(message)
            self._changed.notify_all()
