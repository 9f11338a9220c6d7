"""The example configuration's values, where they cannot be read from it."""

import re

from quendal_tools.configuration.example import DATA_PORT, GROUP_PORT
from quendal_tools.configuration.places import TOOLS


def test_the_dissector_looks_at_the_example_s_ports_unless_told_otherwise():
    script = (TOOLS / "lcdpacket.lua").read_text()

    assert re.findall(r'Pref\.uint\("(\w+) port", (\d+),', script) == [
        ("TCP", str(DATA_PORT)), ("UDP", str(GROUP_PORT))]
