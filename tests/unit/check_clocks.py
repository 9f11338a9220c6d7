#!/usr/bin/python3
"""Checks that the time of day is asked for in one place: the platform seam, whose clock each unit test sets.

Usage: check_clocks.py REPOSITORY
           Exit status 1 and one line per place that reads the machine's wall clock by itself.

A unit that did so would be tested at another time in each run, and fail at midnight, at new year or in February.
A steady clock, which measures a wait, is nobody's concern here.
"""

import pathlib
import re
import sys

TREES = ("src", "tests/support", "tests/unit")

# The seam, and the test that it gives the machine's time.
ALLOWED = ("src/base/platform.cpp", "tests/unit/base/platform_test.cpp")

_TIME = r"\b(?:Timestamp|DateTime|LocalDateTime)"

# What takes the time as it is made or asked.
READS = [re.compile(pattern) for pattern in (
    _TIME + r"\s*(?:\(\s*\)|\{\s*\})",
    r"\bnew\s+(?:Poco::)?" + _TIME + r"\s*[;,)]",
    r"(?<!extern )(?<!extern Poco::)" + _TIME + r"\s+\w+\s*(?:\{\s*\}\s*)?;",
    r"\bLocalDateTime\b",
    r"(?:\.|->)update\s*\(\s*\)",
    r"\b(?:system_clock|high_resolution_clock|utc_clock|tai_clock|gps_clock|file_clock|file_time_type::clock)\b",
    r"\bCLOCK_REALTIME\w*",
    r"\b(?:gettimeofday|timespec_get|ftime|localtime|localtime_r)\s*\(",
    r"(?<![\w.>])(?:std::|::)?time\s*\(\s*(?:nullptr|NULL|0|&\w+)\s*\)",
)]

# A timestamp's age is told by the machine's clock; a steady clock has functions of the same name.
AGE = re.compile(r"(?:\.|->)(?:elapsed|isElapsed)\s*\(")
STEADY = re.compile(r"\bPoco::(?:Clock|Stopwatch)\b")

_NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', re.DOTALL)


def code_of(text):
    """The text without comments and literals, line by line as it was."""
    return _NO_CODE.sub(lambda match: "\n" * match.group().count("\n"), text)


def readings(text):
    """Where a source reads the wall clock: (line, what stands there)."""
    code = code_of(text)
    patterns = READS if STEADY.search(code) else [*READS, AGE]
    for number, line in enumerate(code.splitlines(), start=1):
        match = next(filter(None, (pattern.search(line) for pattern in patterns)), None)
        if match:
            yield number, match.group().strip()


def wrong_readings(repository):
    """One line for each reading where none belongs."""
    for tree in TREES:
        for path in sorted((repository / tree).rglob("*")):
            name = path.relative_to(repository).as_posix()
            if path.suffix in (".h", ".cpp") and name not in ALLOWED:
                for number, found in readings(path.read_text(encoding="utf-8")):
                    yield f"{name}:{number}: {found} reads the machine's clock; platform::now() is the one to ask"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    wrong = list(wrong_readings(pathlib.Path(sys.argv[1])))
    print("\n".join(wrong) if wrong else "nobody reads the machine's clock but the platform seam")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
