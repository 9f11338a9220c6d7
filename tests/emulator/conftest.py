"""Tests on an emulated board: a real kernel, real hardware to plug and pull, and nothing faked.

    tools/emulator/prepare
    /usr/bin/python3 -m pytest -n 4 tests/emulator [--quendal PATH] [--no-skips]

Each test has a board of its own. What it said and what its display saw is kept below build/emulator/logs.
"""

import contextlib
import pathlib
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))

from quendal_tools import guest_system  # noqa: E402
from quendal_tools.emulator import EmulatedBoard, EmulatorUnavailable  # noqa: E402
from quendal_tools.stick_image import StickImage  # noqa: E402
from support.rig import Rig  # noqa: E402


def pytest_addoption(parser):
    group = parser.getgroup("quendal")
    group.addoption("--quendal", type=pathlib.Path, default=ROOT / "build/release/Quendal_L",
                    help="the service's binary, with semwatch beside it (default: the release build)")
    group.addoption("--no-skips", action="store_true", help="a test that would be skipped fails")


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    report = (yield).get_result()
    if report.skipped and item.config.getoption("--no-skips"):
        report.outcome = "failed"
        report.longrepr = f"skipped, which is not allowed here: {report.longrepr[2]}"


@pytest.fixture(scope="session")
def quendal(request):
    binary = request.config.getoption("--quendal").resolve()
    for program in (binary, binary.with_name("semwatch")):
        if not program.exists():
            pytest.fail(f"{program} is missing: build it first, or name another binary with --quendal")
    return binary


@pytest.fixture
def make_rig(quendal, request):
    """Boots boards (arguments as for EmulatedBoard, and plugged: a stick from the start) and starts the service."""
    with contextlib.ExitStack() as stack:
        def make(plugged=None, **options):
            try:
                board = stack.enter_context(EmulatedBoard(quendal, **options))
            except EmulatorUnavailable as error:
                pytest.skip(str(error))
            if plugged:
                board.plug(plugged)
            rig = Rig(board, board.start_service(), plugged)
            stack.callback(rig.keep_log, guest_system.DIRECTORY / f"logs/{request.node.name}.log")
            return rig

        yield make


@pytest.fixture
def make_stick(tmp_path):
    """Makes images of sticks; arguments as for StickImage.create."""
    def make(content, **options):
        return StickImage.create(tmp_path / "stick.img", content, **options)

    return make
