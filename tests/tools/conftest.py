"""Tests of the tools' own rules: fast, without a sandbox.

    /usr/bin/python3 -m pytest tests/tools
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools"))
