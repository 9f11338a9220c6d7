"""System tests: the real service in a sandboxed board, seen from outside.

    /usr/bin/python3 -m pytest -n 24 tests/system [--quendal build/asan/Quendal_L] [--no-skips]

Every test has a board of its own, or shares its module's. What it may look at is what anybody could: the
error stream, files, sockets, the commands that were run, the semaphores and /proc.
"""

import contextlib

import pytest

pytest.register_assert_rewrite("support")

from quendal_tools.sandbox.board import Board
from quendal_tools.sandbox.pc import SandboxUnavailable
from support import fence, multicast
from support.rig import Rig

STOP_SECONDS = 30


def pytest_configure(config):
    config.addinivalue_line("markers", "long(seconds): takes so long, mostly waiting; is begun early")


@pytest.hookimpl(tryfirst=True)
def pytest_cmdline_main(config):
    # Tests that share a board belong on the same worker. The workers look at the command line anew, so
    # each has to be told, too.
    if hasattr(config, "workerinput"):
        config.option.loadgroup = True
    elif getattr(config.option, "numprocesses", None) and config.option.dist == "no":
        config.option.dist = "loadgroup"


@pytest.hookimpl(tryfirst=True)
def pytest_collection_modifyitems(items):
    def seconds(item):
        marker = item.get_closest_marker("long")
        return marker.args[0] if marker else 0

    for item in items:
        if "module_rig" in item.fixturenames:
            item.add_marker(pytest.mark.xdist_group(item.module.__name__))
    items.sort(key=seconds, reverse=True)


@contextlib.contextmanager
def boards():
    """Makes boards and takes them down at the end; a machine that allows none skips the test."""
    with contextlib.ExitStack() as stack:
        def make(**options):
            try:
                return stack.enter_context(Board(**options))
            except SandboxUnavailable as error:
                pytest.skip(str(error))

        yield make


@contextlib.contextmanager
def rigs(quendal):
    """Makes boards with a display and a started service; at the end each service must stop as it should."""
    made = []
    with boards() as make_board:
        def make(*, before_start=lambda board: None, env=lambda display_env: display_env, wrapper=(), **options):
            board = make_board(**options)
            before_start(board)
            display = board.display()
            service = board.start_service(quendal, env=env(display.env), wrapper=wrapper)
            made.append(Rig(board, display, service))
            return made[-1]

        yield make
        for rig in made:
            for service in rig.services:
                service.terminate()
            for service in rig.services:
                assert service.wait(STOP_SECONDS) == 0, service.stderr_text()


@pytest.fixture
def make_board():
    with boards() as make:
        yield make


@pytest.fixture
def start(make_board, quendal):
    """Starts the service on such a board and waits for its end: (exit status, error stream, board)."""
    def run(prepare=lambda board: None, env=None, **options):
        board = make_board(**options)
        prepare(board)
        service = board.start_service(quendal, env=env)
        status = service.wait(30)
        assert service.stdout_text() == ""
        return status, service.stderr_text(), board

    return run


@pytest.fixture
def make_rig(quendal):
    """Starts the service on a board made as the arguments say.

    They are those of Board, and: before_start, called with the board; env, called with the display's variables
    to give those for the service; wrapper, the words before the service's own.
    """
    with rigs(quendal) as make:
        yield make


@pytest.fixture
def rig(make_rig):
    """A service with its link up and its port open."""
    rig = make_rig()
    rig.await_ready()
    return rig


@pytest.fixture
def display(make_rig):
    """A service that listens on the group, and has been running for longer than the rate limit."""
    rig = make_rig()
    multicast.await_resumed_and_due(rig)
    return rig


@pytest.fixture
def transmitter(display):
    """A transmitter's side of that display's network."""
    with multicast.Transmitter(display.board.pc) as transmitter:
        yield transmitter


@pytest.fixture(scope="module")
def module_rig(quendal):
    """A service with its port open that serves one module's tests or fixtures."""
    with rigs(quendal) as make:
        rig = make()
        rig.await_ready()
        yield rig


@pytest.fixture
def shared_rig(module_rig):
    """A rig that the tests of one module share, with its port open; they leave it in normal mode."""
    module_rig.settle()
    return module_rig


@pytest.fixture
def fenced_rig(shared_rig):
    """A shared rig whose target directory has traps in it."""
    fence.prepare(shared_rig.board)
    return shared_rig
