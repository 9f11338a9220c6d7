#!/usr/bin/python3
"""Checks that each unit test bears the name of what it tests: a unit of src/ in the folder of the same name.

Usage: check_test_names.py REPOSITORY
           Exit status 1 and one line for each test file that does not.

A unit is a source or header of src/; its tests are <unit>_test.cpp, and where those are too many or need something of
their own, <unit>_<aspect>_test.cpp beside it.
"""

import pathlib
import sys

SUFFIX = "_test"


def units_of(folder):
    """The names of the units of a folder of src/."""
    return {path.stem for pattern in ("*.h", "*.cpp") for path in folder.glob(pattern)}


def is_test_of(name, units):
    """Does `name`, that of a test without its suffixes, begin with that of a unit?"""
    return any(name == unit or name.startswith(unit + "_") for unit in units)


def wrong_names(repository):
    """One line for each test that bears no unit's name."""
    tests = repository / "tests" / "unit"
    for path in sorted(tests.rglob(f"*{SUFFIX}.cpp")):
        folder = path.parent.relative_to(tests)
        if not is_test_of(path.stem.removesuffix(SUFFIX), units_of(repository / "src" / folder)):
            yield f"{path.relative_to(repository).as_posix()}: src/{folder.as_posix()} has no unit of that name"


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    wrong = list(wrong_names(pathlib.Path(sys.argv[1])))
    print("\n".join(wrong) if wrong else "every unit test bears the name of its unit")
    sys.exit(1 if wrong else 0)


if __name__ == "__main__":
    main()
