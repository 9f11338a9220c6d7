"""Which room of the Python tree uses which: what a PC gets knows nothing of the test rig."""

import ast
import pathlib

import pytest

from python_tree import ROOT, python_files

PACKAGE = "tools/quendal_tools"
FOR_A_PC = {"configuration", "protocol", "distribution", "stick", "commands"}
RIG = {"board", "sandbox", "emulator", "power_cuts", "demo"}

# The rooms of the package that each place may use beside itself; a place that is not here may use none.
MAY_USE: dict[str, set[str]] = {
    f"{PACKAGE}/configuration": set(),
    f"{PACKAGE}/protocol": {"configuration"},
    f"{PACKAGE}/distribution": {"configuration", "protocol"},
    f"{PACKAGE}/stick": {"configuration", "protocol"},
    f"{PACKAGE}/commands": {"configuration", "protocol", "distribution", "stick"},
    f"{PACKAGE}/board": {"configuration"},
    f"{PACKAGE}/sandbox": {"configuration", "board"},
    f"{PACKAGE}/emulator": {"configuration", "board", "stick"},
    f"{PACKAGE}/power_cuts": {"configuration", "protocol", "board", "emulator"},
    f"{PACKAGE}/demo": {"configuration", "protocol", "distribution", "commands", "board", "sandbox"},
    "tools/transmitter": {"commands"},
    "tools/display": {"board"},
    "tools/sandbox": {"sandbox"},
    "tools/demo": {"sandbox", "demo"},
    "tools/pictures": {"demo"},
    "tools/emulator": {"configuration", "stick", "board", "emulator", "power_cuts"},
    "bench": FOR_A_PC | RIG,
    "tests/tools": FOR_A_PC | {"emulator", "power_cuts"},
    "tests/system": FOR_A_PC | {"board", "sandbox"},
    "tests/emulator": FOR_A_PC | {"board", "emulator", "power_cuts"},
    "tests/faults": FOR_A_PC | {"board", "sandbox"},
    "tests/endurance": FOR_A_PC | {"board", "sandbox"},
}


def place_of(name):
    """The innermost place of the table that a file lies in."""
    return next((str(place) for place in (pathlib.PurePath(name), *pathlib.PurePath(name).parents)
                 if str(place) in MAY_USE), "")


def imported(source):
    """The dotted names that a source imports."""
    for node in ast.walk(ast.parse(source)):
        if isinstance(node, ast.ImportFrom):
            yield from (f"{'.' * node.level}{node.module or ''}.{alias.name}" for alias in node.names)
        elif isinstance(node, ast.Import):
            yield from (alias.name for alias in node.names)


def wrong_imports(files):
    """One line for each import that goes the wrong way."""
    for name, source in files:
        place = place_of(name)
        allowed = MAY_USE.get(place, set()) | {place.removeprefix(PACKAGE + "/")}
        for module in imported(source):
            package, room = (module + ".").split(".")[:2]
            if package == "" or package == "quendal_tools" and room not in allowed:
                yield f"{name}: {module}"


def test_every_import_of_the_tree_goes_the_right_way():
    assert list(wrong_imports(python_files(ROOT))) == []


def test_nothing_that_a_pc_gets_may_use_the_rig():
    assert FOR_A_PC | RIG == {place.removeprefix(PACKAGE + "/") for place in MAY_USE if place.startswith(PACKAGE)}
    for room in FOR_A_PC:
        assert MAY_USE[f"{PACKAGE}/{room}"] <= FOR_A_PC


@pytest.mark.parametrize(("name", "source", "wrong"), [
    (f"{PACKAGE}/protocol/x.py", "from quendal_tools.sandbox.pc import Pc", "quendal_tools.sandbox.pc.Pc"),
    (f"{PACKAGE}/stick/x.py", "def late():\n    import quendal_tools.emulator.qmp", "quendal_tools.emulator.qmp"),
    (f"{PACKAGE}/stick/deep/x.py", "from quendal_tools import board", "quendal_tools.board"),
    (f"{PACKAGE}/commands/x.py", "from ..sandbox import pc", "..sandbox.pc"),
    (f"{PACKAGE}/room_without_a_place/x.py", "from quendal_tools.protocol import packet",
     "quendal_tools.protocol.packet"),
    ("tools/transmitter", "import quendal_tools", "quendal_tools"),
    ("tests/tools/test_x.py", "from quendal_tools.board import waiting", "quendal_tools.board.waiting"),
])
def test_an_import_that_goes_the_wrong_way_is_told(name, source, wrong):
    assert list(wrong_imports([(name, source)])) == [f"{name}: {wrong}"]


@pytest.mark.parametrize(("name", "source"), [
    (f"{PACKAGE}/protocol/x.py", "import socket\nfrom quendal_tools.protocol import packet"),
    (f"{PACKAGE}/demo/x.py", "from quendal_tools.sandbox.pc import Pc"),
    ("tests/system/support/x.py", "from support import rig\nfrom quendal_tools.sandbox.pc import Pc"),
])
def test_an_import_that_goes_the_right_way_is_not_told(name, source):
    assert list(wrong_imports([(name, source)])) == []
