"""A plan file: a distribution written down, so that it can be run again.

    [options]                       # optional, with the names of the command line's options
    jobs = 16

    [[distribution]]
    name = "lobbies"                # optional
    to = ["1/*/1", "192.168.77.10"]
    package = ["lobby", "clip.ts"]  # files and folders, from the plan file's folder on
    dont-care = false               # optional
"""

import dataclasses
import pathlib
import tomllib
from typing import Any

from quendal_tools.distribution import package, selection


class PlanError(Exception):
    """What is wrong with a plan file, as a sentence."""


@dataclasses.dataclass(frozen=True)
class Step:
    """One package for one selection."""

    name: str
    selection: selection.Selection
    package: package.Package


@dataclasses.dataclass(frozen=True)
class Plan:
    steps: tuple[Step, ...]
    options: dict[str, Any]


_STEP_KEYS = {"name": str, "to": list, "package": list, "dont-care": bool}


def read(path: pathlib.Path, options: dict[str, type]) -> Plan:
    """The plan of a file, everything of it checked; options are the names that may stand there, with their types."""
    try:
        data = tomllib.loads(path.read_text(encoding="utf-8"))
    except OSError as error:
        raise PlanError(f"{path}: {(error.strerror or str(error)).lower()}") from None
    except ValueError as error:
        raise PlanError(f"{path}: {error}") from None
    try:
        _check_keys(data, {"options": dict, "distribution": list}, "the plan")
        given = data.get("options", {})
        _check_keys(given, options, "[options]")
        entries = data.get("distribution", [])
        if not entries:
            raise PlanError("there is no [[distribution]]")
        return Plan(tuple(_step(entry, number, path.parent) for number, entry in enumerate(entries, 1)), given)
    except PlanError as error:
        raise PlanError(f"{path}: {error}") from None


def _step(entry: Any, number: int, folder: pathlib.Path) -> Step:
    where = f"[[distribution]] {number}"
    if not isinstance(entry, dict):
        raise PlanError(f"{where} is no table")
    _check_keys(entry, _STEP_KEYS, where)
    for key in ("to", "package"):
        if not entry.get(key) or not all(isinstance(word, str) for word in entry[key]):
            raise PlanError(f'{where}: "{key}" has to be a list of texts')
    framing = package.Framing(dont_care=entry.get("dont-care", False))
    try:
        return Step(entry.get("name", f"distribution {number}"), selection.parse(entry["to"]),
                    package.gather([folder / word for word in entry["package"]], framing))
    except (selection.SelectionError, package.PackageError) as error:
        raise PlanError(f"{where}: {error}") from None


def _check_keys(table: dict[str, Any], known: dict[str, type], where: str) -> None:
    for key, value in table.items():
        if key not in known:
            raise PlanError(f'{where}: there is no key "{key}"; those known are {", ".join(known)}')
        whole_number = known[key] is float and type(value) is int
        if type(value) is not known[key] and not whole_number:
            raise PlanError(f'{where}: "{key}" is not of the kind {known[key].__name__}')
