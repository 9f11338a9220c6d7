"""The rules by which a display serves a technician's stick, exactly as the service applies them. Pure.

A configuration folder is named by three numbers, "group.column.unit", 0 standing for any. Its list of files
is entries separated by ";", each "<any text>#0#<file name>".
"""

import dataclasses
import re
from collections.abc import Iterable

from quendal_tools.configuration.identity import Numbers
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE

LIST_KEY = "new_local_dist_task.fileList"

_NUMBER = re.compile(r"[ \t\n\v\f\r]*([+-]?[0-9]+)", re.ASCII)
_LARGEST = (1 << 63) - 1
_GROUP_WEIGHT, _COLUMN_WEIGHT, _UNIT_WEIGHT = 100, 10, 1


@dataclasses.dataclass(frozen=True)
class Candidate:
    """An entry of KVCFG; weight is None when it does not fit the display, numbers when it never fits one."""

    name: str
    numbers: Numbers | None
    weight: int | None


@dataclasses.dataclass(frozen=True)
class FileList:
    """The files in the order of copying, and the control file's name that decides how they are announced."""

    names: tuple[str, ...]
    announcement: str | None


class FormatError(Exception):
    """Why a list is ignored as a whole."""


def parse_number(text: str) -> int:
    """The number at the beginning of a text as strtol reads it, 0 without one, cut to its low 16 bits."""
    match = _NUMBER.match(text)
    number = int(match[1]) if match else 0
    return max(-_LARGEST - 1, min(number, _LARGEST)) & 0xFFFF


def parse_folder_name(name: str) -> Numbers | None:
    parts = name.split(".")
    return Numbers(*map(parse_number, parts)) if len(parts) == 3 else None


def weight(folder: Numbers, own: Numbers) -> int | None:
    """How well a folder fits the display with these numbers; None when it does not."""
    if any(number not in (0, mine) for number, mine in zip(folder, own)):
        return None
    return (_GROUP_WEIGHT * (folder.group == own.group) + _COLUMN_WEIGHT * (folder.column == own.column)
            + _UNIT_WEIGHT * (folder.unit == own.unit))


def consider(name: str, own: Numbers) -> Candidate:
    numbers = parse_folder_name(name)
    return Candidate(name, numbers, weight(numbers, own) if numbers else None)


def choose(candidates: Iterable[Candidate]) -> Candidate | None:
    """The heaviest candidate, of equal ones the first; None when none fits."""
    fitting = [(candidate.weight, candidate) for candidate in candidates if candidate.weight is not None]
    return max(fitting, key=lambda pair: pair[0])[1] if fitting else None


def trim_file_list(value: str) -> str:
    return value.strip(";")


def parse_file_list(value: str) -> FileList:
    """The files of a trimmed list; FormatError when an entry is not as it has to be."""
    names, announcement = [], None
    for entry in value.split(";"):
        fields = entry.split("#")
        if len(fields) != 3:
            raise FormatError(f'the entry "{entry}" has {len(fields)} fields instead of 3')
        if fields[1] != "0":
            raise FormatError(f'the second field of "{entry}" is not 0')
        problem = name_problem(fields[2])
        if problem:
            raise FormatError(f'the entry "{entry}" {problem}')
        names.append(fields[2])
        announcement = _announcement_of(fields[2]) or announcement
    return FileList(tuple(names), announcement)


def name_problem(name: str) -> str | None:
    """Why a name may not be listed whatever is on the stick; None when it may."""
    if not name:
        return "names no file"
    if "\0" in name:
        return "has a zero byte in its name"
    parts = name.split("/")
    if ".." in parts:
        return "leads upwards"
    if parts[-1] in ("", "."):
        return "names a folder"
    return None


def _announcement_of(name: str) -> str | None:
    return next((marker for marker in (LIST_FILE, DONT_CARE_LIST_FILE) if marker in name), None)
