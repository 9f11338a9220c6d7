#!/usr/bin/python3
"""Checks which folder of src/ includes which, and whose state it may read: one table, no exceptions.

Usage: check_includes.py SOURCE_DIRECTORY (of a tree like src/)
           Exit status 1 and one line per include that the table does not allow.
       check_includes.py --graph SOURCE_DIRECTORY
           Prints who includes whom, and how often.
"""

import collections
import pathlib
import re
import sys

# Each folder and those below it: what it may include besides itself.
BELOW: dict[str, set[str]] = {
    "base": set(),
    "ipc": {"base"},
    "network": {"base"},
    "transfer/packet": {"base"},
    "transfer/store": {"base"},
    "transfer": {"base", "ipc", "network", "transfer/packet", "transfer/store"},
    "multicast": {"base", "network", "transfer/packet"},
    "video": {"base", "ipc", "network"},
    "maintenance/stick": {"base", "ipc", "transfer/packet"},
    "maintenance": {"base", "ipc", "network", "transfer", "multicast", "maintenance/stick"},
    "app": {"base", "ipc", "network", "transfer", "transfer/store", "multicast", "video", "maintenance/stick",
            "maintenance"},
}

# The header of a folder's process-wide variables, and who may include it besides that folder: the start-up
# configures all of them, the link's watch pauses the network tasks, and the link is everybody's business.
STATE_READERS: dict[str, set[str]] = {
    "base/shared_state.h": set(BELOW),
    "network/network_state.h": {"transfer", "multicast", "video", "maintenance", "app"},
    "transfer/transfer_state.h": {"maintenance", "app"},
    "transfer/store/store_state.h": {"transfer", "app"},
    "multicast/multicast_state.h": {"maintenance", "app"},
    "video/video_state.h": set(),
    "maintenance/stick/stick_state.h": {"app"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def folder_of(name):
    """The folder of a file named relative to the source directory."""
    return name.rpartition("/")[0]


def sources(source):
    """Each source file's name, from the source directory, and its text."""
    for path in sorted(source.rglob("*.h")) + sorted(source.rglob("*.cpp")):
        yield path.relative_to(source).as_posix(), path.read_text(encoding="utf-8")


def includes_of(source):
    """All includes as (file, included file), both named from the source directory."""
    for name, text in sources(source):
        for included in INCLUDE.findall(text):
            yield name, included


def what_is_wrong(source, name, included):
    """One line, or None where the table allows it."""
    folder, below = folder_of(name), folder_of(included)
    if not (source / included).is_file():
        return f'{name}: "{included}" is not named from the source directory'
    if below == folder:
        return None
    if below not in BELOW.get(folder, ()):
        return f'{name}: "{included}" is not below it'
    if included.endswith("_state.h") and folder not in STATE_READERS.get(included, set()):
        return f'{name}: "{included}" is not its state to read'
    return None


def wrong_includes(source):
    """One line per file without a place, and per include that the table does not allow."""
    for name, _ in sources(source):
        if folder_of(name) not in BELOW:
            yield f"{name}: its folder has no place in the table"
    lines = (what_is_wrong(source, name, included) for name, included in includes_of(source))
    yield from (line for line in lines if line)


def graph(source):
    """One line for each folder: whom it includes, and how often."""
    counts: dict[str, collections.Counter[str]] = collections.defaultdict(collections.Counter)
    for name, included in includes_of(source):
        if folder_of(name) != folder_of(included):
            counts[folder_of(name)][folder_of(included)] += 1
    for folder in sorted(counts):
        yield f"{folder} -> " + ", ".join(f"{below} ({count})" for below, count in sorted(counts[folder].items()))


def main():
    arguments = sys.argv[1:]
    wants_graph = arguments[:1] == ["--graph"]
    if len(arguments) != 1 + wants_graph:
        sys.exit(__doc__)
    source = pathlib.Path(arguments[-1])
    if wants_graph:
        print("\n".join(graph(source)))
        return
    wrong = list(wrong_includes(source))
    print("\n".join(wrong) if wrong else "every include goes down")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
