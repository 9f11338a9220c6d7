"""A place to run programs and open sockets in: the PC's side of the network, or a board."""

import os
import select
import signal
import socket
import subprocess
import tempfile
import threading
from collections.abc import Mapping, Sequence
from typing import IO, Any

from quendal_tools.sandbox import messages, programs

Socket = socket.socket
Words = Sequence[str | os.PathLike[str]]
# As for subprocess.Popen.
Stream = IO[bytes] | int | None

DEFAULT_ENVIRONMENT = {
    "PATH": "/opt/board/bin:" + programs.SEARCH_PATH,
    "HOME": "/root",
    "LANG": "C.UTF-8",
}


class SandboxError(Exception):
    """Something that was asked of the sandbox could not be done."""


class Namespace:
    """The test process's end of an agent."""

    def __init__(self, channel: Socket) -> None:
        self._channel = channel
        self._lock = threading.Lock()

    def request(self, descriptors: Sequence[int] = (), **message: object) -> tuple[messages.Message, list[int]]:
        """Asks the agent; returns its reply and the descriptors that came with it."""
        with self._lock:
            try:
                if message:
                    messages.send(self._channel, message, descriptors)
                reply, passed = messages.receive(self._channel)
            except OSError as error:
                raise SandboxError(f"the sandbox has ended ({error})") from error
        if reply is None:
            raise SandboxError("the sandbox has ended")
        if "error" in reply:
            raise SandboxError(reply["error"])
        return reply, passed

    def await_set_up(self, **plan: object) -> None:
        """Waits for the agent to report that its place stands; pid is then its process 1 as the host sees it."""
        _, (pidfd,) = self.request((), **plan)
        self.pid = _host_pid(pidfd)
        os.close(pidfd)

    def close(self) -> None:
        self._channel.close()

    def socket(self, kind: int = socket.SOCK_STREAM, family: int = socket.AF_INET, protocol: int = 0) -> Socket:
        """An ordinary socket that lives in this place's network."""
        _, (descriptor,) = self.request(do="socket", family=family, kind=int(kind), protocol=protocol)
        return socket.socket(family, kind, protocol, fileno=descriptor)

    def popen(self, argv: Words, *, stdin: Stream = subprocess.DEVNULL, stdout: Stream = None, stderr: Stream = None,
              env: Mapping[str, str] | None = None, cwd: str = "/") -> "Process":
        """Starts a program; the streams are as for subprocess.Popen, env adds to a plain environment."""
        streams = _Streams(stdin, stdout, stderr)
        try:
            reply, (pidfd,) = self.request(
                streams.given, do="start", argv=[os.fspath(word) for word in argv],
                env={**DEFAULT_ENVIRONMENT, **(env or {})}, cwd=cwd)
        finally:
            streams.close_given()
        return Process(self, argv, reply["process"], pidfd, streams.kept)

    def run(self, argv: Words, *, timeout: float = 60, check: bool = False,
            **options: Any) -> subprocess.CompletedProcess[str]:
        """Runs a program to its end; returns a subprocess.CompletedProcess with its output as text."""
        with tempfile.TemporaryFile() as output, tempfile.TemporaryFile() as errors:
            process = self.popen(argv, stdout=output, stderr=errors, **options)
            status = process.wait(timeout)
            texts = []
            for file in (output, errors):
                file.seek(0)
                texts.append(file.read().decode(errors="replace"))
        result = subprocess.CompletedProcess(argv, status, *texts)
        if check:
            result.check_returncode()
        return result


class _Streams:
    """The three standard descriptors for a program, and our own ends of its pipes."""

    def __init__(self, *wanted: Stream) -> None:
        self.given: list[int] = []
        self.kept: list[IO[bytes] | None] = []
        self._ours: list[int] = []
        for number, stream in enumerate(wanted):
            given, kept = self._open(number, stream)
            self.given.append(given)
            self.kept.append(kept)

    def _open(self, number: int, stream: Stream) -> tuple[int, IO[bytes] | None]:
        if stream is None:
            return number, None
        if stream == subprocess.STDOUT:
            return self.given[1], None
        if stream == subprocess.DEVNULL:
            self._ours.append(os.open(os.devnull, os.O_RDWR | os.O_CLOEXEC))
            return self._ours[-1], None
        if stream == subprocess.PIPE:
            read_end, write_end = os.pipe()
            given, kept, mode = (read_end, write_end, "wb") if number == 0 else (write_end, read_end, "rb")
            self._ours.append(given)
            return given, open(kept, mode, buffering=0)
        return stream if isinstance(stream, int) else stream.fileno(), None

    def close_given(self) -> None:
        messages.close_all(self._ours)


class Process:
    """A program in the sandbox; pid is its number as the host sees it."""

    def __init__(self, namespace: Namespace, argv: Words, inner_pid: int, pidfd: int,
                 streams: Sequence[IO[bytes] | None]) -> None:
        self.argv = argv
        self.inner_pid = inner_pid
        self.returncode: int | None = None
        self.stdin, self.stdout, self.stderr = streams
        self._namespace = namespace
        self._pidfd = pidfd
        self.pid = _host_pid(pidfd)

    def __del__(self) -> None:
        os.close(self._pidfd)

    def alive(self) -> bool:
        return self.poll() is None

    def poll(self) -> int | None:
        """The exit status, or None while the program runs; minus the signal's number when killed."""
        if self.returncode is None and select.select([self._pidfd], [], [], 0)[0]:
            self.returncode = self._namespace.request(do="status", process=self.inner_pid)[0]["status"]
        return self.returncode

    def wait(self, timeout: float = 60) -> int:
        """Waits for the end and returns the exit status; subprocess.TimeoutExpired when it does not come."""
        if self.returncode is None:
            select.select([self._pidfd], [], [], timeout)
        status = self.poll()
        if status is None:
            raise subprocess.TimeoutExpired([os.fspath(word) for word in self.argv], timeout)
        return status

    def send_signal(self, number: int) -> None:
        if self.alive():
            signal.pidfd_send_signal(self._pidfd, number)

    def terminate(self, number: int = signal.SIGTERM) -> None:
        self.send_signal(number)

    def kill(self) -> None:
        self.send_signal(signal.SIGKILL)

    def cpu_seconds(self) -> float:
        """Processor time used so far, user and system, of all threads."""
        with open(f"/proc/{self.pid}/stat") as file:
            fields = file.read().rpartition(")")[2].split()
        return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")

    def rss_kib(self) -> int:
        with open(f"/proc/{self.pid}/statm") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE") // 1024

    def fd_count(self) -> int:
        return len(os.listdir(f"/proc/{self.pid}/fd"))

    def thread_count(self) -> int:
        return len(os.listdir(f"/proc/{self.pid}/task"))


def _host_pid(pidfd: int) -> int:
    with open(f"/proc/self/fdinfo/{pidfd}") as file:
        for line in file:
            if line.startswith("Pid:"):
                return int(line.split()[1])
    raise SandboxError("the kernel does not tell the process's number")
