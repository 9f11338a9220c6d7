"""Starting programs from an agent, which is a single-threaded process 1 and so reaps every orphan, too."""

import contextlib
import os
import signal
import traceback
from collections.abc import Iterable, Iterator

SEARCH_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


@contextlib.contextmanager
def exiting_process() -> Iterator[None]:
    """A forked child's whole life: it must never run on into its parent's code."""
    status = 1
    try:
        yield
        status = 0
    except Exception:
        traceback.print_exc()
    finally:
        os._exit(status)


class Children:
    """The programs that an agent has started, and how they ended."""

    def __init__(self) -> None:
        self._running: set[int] = set()
        self._ended: dict[int, int] = {}
        self.wake_up, write_end = os.pipe2(os.O_NONBLOCK | os.O_CLOEXEC)
        signal.signal(signal.SIGCHLD, lambda number, frame: None)
        signal.set_wakeup_fd(write_end, warn_on_full_buffer=False)

    def start(self, argv: list[str], env: dict[str, str], cwd: str, descriptors: list[int]) -> int:
        """Starts a program with the given standard descriptors; OSError when it cannot be run."""
        read_end, write_end = os.pipe2(os.O_CLOEXEC)
        process = os.fork()
        if process == 0:
            with exiting_process():
                _become(argv, env, cwd, descriptors, write_end)
        os.close(write_end)
        with open(read_end, "rb") as errors:
            error = errors.read()
        if error:
            os.waitpid(process, 0)
            raise OSError(error.decode())
        self._running.add(process)
        return process

    def reap(self) -> None:
        with contextlib.suppress(BlockingIOError):
            os.read(self.wake_up, 4096)
        with contextlib.suppress(ChildProcessError):
            while True:
                process, status = os.waitpid(-1, os.WNOHANG)
                if process == 0:
                    return
                self._note(process, status)

    def status(self, process: int) -> int:
        """The exit status of a started program that has ended; minus the signal's number when killed."""
        if process in self._running:
            self._note(*os.waitpid(process, 0))
        return self._ended[process]

    def _note(self, process: int, status: int) -> None:
        if process in self._running:
            self._running.remove(process)
            self._ended[process] = os.waitstatus_to_exitcode(status)


def _become(argv: list[str], env: dict[str, str], cwd: str, descriptors: list[int], errors: int) -> None:
    try:
        os.setsid()
        signal.set_wakeup_fd(-1)
        for number in (signal.SIGPIPE, signal.SIGINT, signal.SIGCHLD, signal.SIGXFSZ):
            signal.signal(number, signal.SIG_DFL)
        for target, descriptor in enumerate(descriptors):
            os.dup2(descriptor, target)
        os.chdir(cwd)
        os.execvpe(argv[0], argv, env)
    except OSError as error:
        os.write(errors, f"{argv[0]}: {error.strerror}".encode())


def run_ip(commands: Iterable[str]) -> None:
    """Runs iproute2 commands as one batch, before or beside an agent's own children."""
    orders, answers = os.memfd_create("orders"), os.memfd_create("answers")
    os.write(orders, "\n".join(commands).encode() + b"\n")
    os.lseek(orders, 0, os.SEEK_SET)
    process = os.fork()
    if process == 0:
        with exiting_process():
            os.dup2(orders, 0)
            os.dup2(answers, 2)
            os.execvpe("ip", ["ip", "-batch", "-"], {"PATH": SEARCH_PATH})
    status = os.waitpid(process, 0)[1]
    text = os.pread(answers, 4096, 0).decode(errors="replace").strip()
    os.close(orders)
    os.close(answers)
    if status != 0:
        raise OSError(f"ip: {text or 'could not be run'}")
