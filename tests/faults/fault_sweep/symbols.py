"""Names for the places that call sites are made of."""

import bisect
import functools
import pathlib
import re
import subprocess

_OURS = "quendal::"
_INNERMOST = 2
_OF_OURS = 3
_FUNCTION = re.compile(r"([0-9a-f]+) ([0-9a-f]+) [tTwWiuV] (.*)")
# The way through the standard library tells nothing.
_DULL = re.compile(r"(std|__gnu_cxx)::|_?_|operator-new|main$")


class Symbols:
    """Looks places up in the program's and its libraries' symbol tables."""

    def __init__(self, program):
        self._program = str(program)

    def title(self, frames):
        """A call site in words: the innermost functions, then those of the service that led there."""
        names = [name for name in map(self._name, frames) if not _DULL.match(name)]
        innermost = names[:_INNERMOST]
        ours = [name for name in names[_INNERMOST:] if name.startswith(_OURS)][:_OF_OURS]
        shown = [name.removeprefix(_OURS) for name in innermost + ours]
        return " < ".join(dict.fromkeys(shown)) or "?"

    def _name(self, frame):
        module, offset = frame
        path = module or self._program
        addresses, functions = _table(path)
        # A return address may already belong to the next function.
        index = bisect.bisect_right(addresses, offset - 1) - 1
        if index >= 0:
            name, end = functions[index]
            if offset <= end:
                return name
        return f"({pathlib.Path(path).name})"


@functools.lru_cache(maxsize=None)
def _table(path):
    """A module's functions: their addresses in order, and for each its name and where it ends."""
    known = {}
    tables: list[list[str]] = [["--dynamic"], []]
    for options in tables:
        command = ["nm", "--demangle", "--defined-only", "--print-size", *options, path]
        for line in subprocess.run(command, capture_output=True, text=True).stdout.splitlines():
            if match := _FUNCTION.fullmatch(line):
                address, size = int(match[1], 16), int(match[2], 16)
                known[address] = _plain(match[3]), address + size
    addresses = sorted(known)
    return addresses, [known[address] for address in addresses]


def _plain(name):
    """A function's name without its arguments, template arguments and version."""
    name = name.replace("(anonymous namespace)::", "").replace("operator()", "lambda").replace("operator ", "operator-")
    name = name.partition("@")[0]
    name = re.sub(r" \[clone .*", "", name)
    shorter = None
    while shorter != name:
        shorter, name = name, re.sub(r"<[^<>]*>|\([^()]*\)", "", name)
    return name.replace(" const", "").split(" ")[-1].replace("[abi:cxx11]", "").replace("::__cxx11", "")
