"""No function of the Python tree is longer than 40 lines, and no file longer than 250."""

import ast

import pytest

from python_tree import ROOT, python_files

MOST_OF_A_FUNCTION = 40
MOST_OF_A_FILE = 250


def too_long(name, source):
    """One line for the file and for each of its functions that is too long."""
    if (lines := len(source.splitlines())) > MOST_OF_A_FILE:
        yield f"{name}: {lines} lines"
    for node in ast.walk(ast.parse(source)):
        if isinstance(node, ast.FunctionDef | ast.AsyncFunctionDef):
            lines = (node.end_lineno or node.lineno) - node.lineno + 1
            if lines > MOST_OF_A_FUNCTION:
                yield f"{name}: {node.name} has {lines} lines"


def test_nothing_in_the_tree_is_too_long():
    assert [line for name, source in python_files(ROOT) for line in too_long(name, source)] == []


@pytest.mark.parametrize(("source", "told"), [
    ("def f():\n" + 39 * "    pass\n", []),
    ("class C:\n    def f(self):\n" + 40 * "        pass\n", ["x.py: f has 41 lines"]),
    (250 * "pass\n", []),
    (251 * "pass\n", ["x.py: 251 lines"]),
])
def test_what_is_too_long_is_told(source, told):
    assert list(too_long("x.py", source)) == told
