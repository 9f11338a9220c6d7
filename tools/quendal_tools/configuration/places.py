"""Where the parts of this source tree lie."""

import pathlib
import re

TOOLS = pathlib.Path(__file__).resolve().parents[2]
EXAMPLE = TOOLS / "example"
BUILD = TOOLS.parent / "build"


def version() -> str:
    """The service's version, as the build gives it to the program."""
    project = (TOOLS.parent / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"^project\(.* VERSION ([0-9.]+)", project, re.MULTILINE)
    if found is None:
        raise ValueError("CMakeLists.txt names no version")
    return found[1]
