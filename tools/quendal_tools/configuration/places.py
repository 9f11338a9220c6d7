"""Where the parts of this source tree lie."""

import pathlib

TOOLS = pathlib.Path(__file__).resolve().parents[2]
EXAMPLE = TOOLS / "example"
BUILD = TOOLS.parent / "build"
