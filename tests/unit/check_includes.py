#!/usr/bin/python3
"""Checks which folder of src/ includes which: the direction only goes down.

    app (the shell)      on top
    maintenance          over the four below
    network  transfer  multicast  video
    ipc
    app's platform, console and shared state

Beside that, transfer lends its pure parts (packet codec, fenced file) to multicast.

Usage: check_includes.py SOURCE_DIRECTORY (of a tree like src/). Exit status 1 and one line per
include that goes the wrong way.
"""

import pathlib
import re
import sys

BASE = {
    "app/console",
    "app/error_stream_channel",
    "app/platform",
    "app/service_task",
    "app/shared_state",
    "app/system_commands",
    "transfer/lcd_packet_record",
}
LENT = {"transfer/byte_order", "transfer/lcd_packet", "transfer/received_file"}

BELOW = {
    "base": set(),
    "lent": {"base"},
    "ipc": {"base"},
    "network": {"base", "ipc"},
    "transfer": {"base", "ipc", "lent"},
    "multicast": {"base", "ipc", "lent"},
    "video": {"base", "ipc"},
    "maintenance": {"base", "ipc", "lent", "network", "transfer", "multicast", "video"},
    "app": {"base", "ipc", "lent", "network", "transfer", "multicast", "video", "maintenance"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def layer_of(name):
    """Layer of a file named relative to the source directory."""
    stem = name.rsplit(".", 1)[0]
    if stem in BASE:
        return "base"
    if stem in LENT:
        return "lent"
    return name.split("/", 1)[0]


def wrong_includes(source):
    """One line per include that goes up, sideways or nowhere."""
    for path in sorted(source.rglob("*.h")) + sorted(source.rglob("*.cpp")):
        name = path.relative_to(source).as_posix()
        layer = layer_of(name)
        if layer not in BELOW:
            yield f"{name}: its folder has no place in the order"
            continue
        for included in INCLUDE.findall(path.read_text(encoding="utf-8")):
            if not (source / included).is_file():
                yield f'{name}: "{included}" is not named from the source directory'
            elif layer_of(included) not in BELOW[layer] | {layer}:
                yield f'{name}: "{included}" is not below it'


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    wrong = list(wrong_includes(pathlib.Path(sys.argv[1])))
    print("\n".join(wrong) if wrong else "every include goes down")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
