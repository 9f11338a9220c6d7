"""Tests on an emulated board: a real kernel, real hardware to plug and pull, and nothing faked.

    tools/emulator/prepare
    /usr/bin/python3 -m pytest -n 4 tests/emulator [--quendal PATH] [--no-skips]

Each test has a board of its own. What it said and what its display saw is kept below build/emulator/logs.
"""

import contextlib

import pytest

from quendal_tools.emulator import guest_system
from quendal_tools.emulator.board import EmulatedBoard, EmulatorUnavailable
from quendal_tools.stick.image import StickImage
from support.rig import Rig


@pytest.fixture(scope="session", name="binary")
def _binary(quendal):
    if not quendal.with_name("semwatch").exists():
        pytest.fail(f"beside {quendal} there is no semwatch; build it with the tests")
    return quendal


@pytest.fixture
def make_rig(binary, request):
    """Boots boards (arguments as for EmulatedBoard, and plugged: a stick from the start) and starts the service."""
    with contextlib.ExitStack() as stack:
        def make(plugged=None, **options):
            try:
                board = stack.enter_context(EmulatedBoard(binary, **options))
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
