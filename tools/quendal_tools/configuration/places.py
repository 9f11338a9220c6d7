"""Where the parts of this source tree lie, or of the package that is installed from it."""

import pathlib
import re

_PACKAGE = pathlib.Path(__file__).resolve().parents[1]
TOOLS = _PACKAGE.parent
# An installed package has the example inside.
EXAMPLE = _PACKAGE / "example" if (_PACKAGE / "example").is_dir() else TOOLS / "example"
BUILD = TOOLS.parent / "build"


def version() -> str:
    """The service's version, as the build gives it to the program."""
    project = (TOOLS.parent / "CMakeLists.txt").read_text(encoding="utf-8")
    found = re.search(r"^project\(.* VERSION ([0-9.]+)", project, re.MULTILINE)
    if found is None:
        raise ValueError("CMakeLists.txt names no version")
    return found[1]
