"""Everything in Python in this tree, with a suffix or without."""

import pathlib

ROOT = pathlib.Path(__file__).resolve().parents[2]
TRANSMITTER = ROOT / "tools/transmitter"


def python_files(root):
    """All of it, as (path below the root, text)."""
    for top in ("tools", "tests", "bench", "docs"):
        for path in sorted((root / top).rglob("*")):
            if path.is_file() and _is_python(path):
                yield path.relative_to(root).as_posix(), path.read_text(encoding="utf-8")


def _is_python(path):
    if path.suffix:
        return path.suffix == ".py"
    with path.open("rb") as file:
        return file.readline().startswith(b"#!/usr/bin/python3")
