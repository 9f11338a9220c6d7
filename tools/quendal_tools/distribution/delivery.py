"""One display's share of a run: it is tried until it gives a receipt, at most so many times."""

import contextlib
import dataclasses
import enum
import socket
import time
from collections.abc import Callable

from quendal_tools.distribution.line import Line, Stopped, Turn
from quendal_tools.distribution.package import Package
from quendal_tools.distribution.selection import Target
from quendal_tools.protocol import systems
from quendal_tools.protocol.patient import PatientConnection
from quendal_tools.protocol.receipt import Lost, await_receipt, why
from quendal_tools.protocol.sending import SourceError, Transmitter

NOT_FOUND = "it did not reply: switched off, not on this network, or it has other numbers"

# The display opens its port again within half a second of any connection's end; then there is its way up.
GAP_SECONDS = 0.6
_REOPENING_SECONDS = 5.0
_ASK_AGAIN_SECONDS = 0.2
_CONNECT_SECONDS = 8.0
_KEEP_ALIVE_SECONDS = 10
# Others send while a display does not take anything for so long.
_LEND_AFTER = 1.0
# Behind the stop marker: 5 s, and up to a minute for a slow disk.
_RECEIPT_SECONDS = 80.0


class State(enum.StrEnum):
    WAITING = "waiting"
    CONNECTING = "connecting"
    SENDING = "sending"
    STALLED = "stalled"
    ENDING = "confirming"
    AGAIN = "trying again"
    STORED = "stored"
    FAILED = "failed"
    INTERRUPTED = "interrupted"


FINAL = (State.STORED, State.FAILED, State.INTERRUPTED)


@dataclasses.dataclass
class Attempt:
    """begin is in seconds since 1970; sending, the seconds until the display's system had everything."""

    begin: float
    seconds: float = 0.0
    sending: float = 0.0
    sent: int = 0
    reason: str | None = None


@dataclasses.dataclass
class Delivery:
    """What is known of one display; its own thread writes it, and others only read."""

    target: Target
    state: State = State.WAITING
    sent: int = 0
    attempts: list[Attempt] = dataclasses.field(default_factory=list)
    reason: str | None = None


@dataclasses.dataclass(frozen=True)
class Manner:
    """How deliveries are made; patience is how long a display may take nothing."""

    port: int
    tries: int = 3
    patience: float = 30.0
    make_socket: Callable[[], socket.socket] = socket.socket
    changed: Callable[[Delivery], None] = lambda delivery: None


class Courier:
    """Brings one package to one display."""

    def __init__(self, delivery: Delivery, package: Package, line: Line, manner: Manner) -> None:
        self.delivery = delivery
        self._package = package
        self._line = line
        self._manner = manner
        self._turn = Turn(line)
        self._done = 0  # bytes of the files that are sent

    def deliver(self) -> None:
        """Ends with a final state, whatever happens."""
        try:
            self._try_all()
        except Stopped:
            self._enter(State.INTERRUPTED, "the run was interrupted")
        except SourceError as error:
            self._enter(State.FAILED, str(error))
        except Exception as error:  # a thread's last words must reach somebody
            self._enter(State.FAILED, f"{type(error).__name__}: {error}")

    def _try_all(self) -> None:
        if self.delivery.target.address is None:
            self._enter(State.FAILED, NOT_FOUND)
            return
        for number in range(1, self._manner.tries + 1):
            attempt = Attempt(time.time())
            try:
                self._attempt(self.delivery.target.address, attempt)
                self._enter(State.STORED)
                return
            except Lost as lost:
                attempt.reason = str(lost)
            if number < self._manner.tries:
                self._enter(State.AGAIN, attempt.reason)
                self._line.sleep(GAP_SECONDS)
        self._enter(State.FAILED, attempt.reason)

    def _attempt(self, address: str, attempt: Attempt) -> None:
        """Lost when the display has not confirmed everything."""
        with contextlib.ExitStack() as stack:
            with self._turn:
                self._take_notes(stack, attempt)
                transmitter = stack.enter_context(Transmitter(lambda: self._connect(address), self._progress))
                begin = time.monotonic()
                self._send(transmitter)
                attempt.sending = time.monotonic() - begin
            self._enter(State.ENDING)
            await_receipt(transmitter.connection, _RECEIPT_SECONDS, sealed=not self._package.restarts)

    def _take_notes(self, stack: contextlib.ExitStack, attempt: Attempt) -> None:
        """Has the attempt say in the end how long it took and how far it came."""
        begin = time.monotonic()

        def end() -> None:
            attempt.sent = self.delivery.sent
            attempt.seconds = time.monotonic() - begin

        attempt.begin = time.time()
        self.delivery.attempts.append(attempt)
        self.delivery.sent = self._done = 0
        stack.callback(end)

    def _connect(self, address: str) -> PatientConnection:
        """Knocks again while the port is closed, for it is opened again after every connection."""
        self._enter(State.CONNECTING)
        begin = time.monotonic()
        while True:
            connection = PatientConnection(self._open_socket(), self._waiting)
            try:
                connection.connect((address, self._manner.port), _CONNECT_SECONDS)
                systems.keep_alive(connection.socket, _KEEP_ALIVE_SECONDS)
                self._turn.take()
                return connection
            except OSError as error:
                connection.close()
                if not isinstance(error, ConnectionRefusedError) or time.monotonic() > begin + _REOPENING_SECONDS:
                    raise Lost(why(error, 0)) from error
            except BaseException:
                connection.close()
                raise
            self._waiting(time.monotonic() - begin)
            self._line.sleep(_ASK_AGAIN_SECONDS)

    def _open_socket(self) -> socket.socket:
        try:
            return self._manner.make_socket()
        except OSError as error:  # too many descriptors: others will have closed theirs by the next try
            raise Lost(why(error, 0)) from error

    def _send(self, transmitter: Transmitter[PatientConnection]) -> None:
        self._enter(State.SENDING)
        try:
            if self._package.list_file:
                transmitter.send_bytes(*self._package.list_file)
            for file in self._package.files:
                transmitter.send_file(file.path, file.name)
                self._done += file.size
            if self._package.marker and not self._package.restarts:
                transmitter.end()
        except SourceError:
            raise
        except OSError as error:
            raise Lost(why(error, time.monotonic() - transmitter.connection.last_moved)) from error

    def _progress(self, _: str, sent: int, __: int) -> None:
        self.delivery.sent = self._done + sent

    def _waiting(self, seconds: float) -> None:
        self._line.check()
        state = self.delivery.state
        if state in (State.SENDING, State.STALLED) and seconds > self._manner.patience:
            raise Lost(f"it has taken nothing for {self._manner.patience:g} s")
        if state == State.SENDING and seconds > _LEND_AFTER:
            self._enter(State.STALLED)
        elif state == State.STALLED and seconds == 0:
            self._enter(State.SENDING)
        if seconds > _LEND_AFTER:
            self._turn.lend()

    def _enter(self, state: State, reason: str | None = None) -> None:
        self.delivery.state = state
        self.delivery.reason = reason
        self._manner.changed(self.delivery)
