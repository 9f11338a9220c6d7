"""Writing a technician's stick: configuration folders with their lists, and the folders that ask for exports."""

import dataclasses
import pathlib
import re
from collections.abc import Iterable, Mapping, Sequence

from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE, STOP_MARKER, list_text
from quendal_tools.stick import media, rules
from quendal_tools.stick.media import StickError

# What a FAT drive has no room for in a name, and what a list of files could not hold.
_BAD_IN_NAME = re.compile(r'[\x00-\x1f"*/:<>?\\|;#$]')


@dataclasses.dataclass(frozen=True)
class Configuration:
    """The files for one folder of KVCFG; control_file is the one that announces them, or None."""

    numbers: rules.Numbers
    files: tuple[pathlib.Path, ...]
    control_file: str | None = LIST_FILE


def check(configurations: Iterable[Configuration], list_name: str = LIST_NAME) -> None:
    """StickError when a file cannot be listed, or would not arrive as what it is."""
    numbers = [configuration.numbers for configuration in configurations]
    if len(set(numbers)) != len(numbers):
        raise StickError("the same display numbers are there twice")
    for configuration in configurations:
        taken = {STOP_MARKER.lower(): "the stop marker", list_name.lower(): "the list of files"}
        for file in configuration.files:
            problem = _problem(file, taken)
            if problem:
                raise StickError(f"{file}: {problem}")
            taken[file.name.lower()] = "another file"


def write(stick: media.Stick, configurations: Sequence[Configuration], exports: Iterable[str] = (),
          list_name: str = LIST_NAME) -> None:
    """Fills an empty stick; exports are folders such as "KVLOG". The configurations have passed the check."""
    for name in (*exports, *(("KVCFG",) if configurations else ())):
        stick.make_folder(name)
    for configuration in configurations:
        _write_configuration(stick, configuration, list_name)


def list_value(configuration: Configuration) -> str:
    """The list's value: the control file first, then the files in their order."""
    names = [file.name for file in configuration.files]
    if configuration.control_file:
        names.insert(0, configuration.control_file)
    return ";".join(f"{number}#0#{name}" for number, name in enumerate(names, 1))


def _problem(file: pathlib.Path, taken: Mapping[str, str]) -> str | None:
    name = file.name
    if not file.is_file():
        return "there is no such file"
    if name.lower() in taken:
        return f"that is the name of {taken[name.lower()]}"
    if not name.isascii() or _BAD_IN_NAME.search(name) or name != name.strip(" .") or len(name) > 255:
        return "a list for FAT drives cannot hold that name"
    if LIST_FILE in name or DONT_CARE_LIST_FILE in name:
        return "a control file of your own is not wanted: one is made of the files' names"
    return None


def _write_configuration(stick: media.Stick, configuration: Configuration, list_name: str) -> None:
    folder = f"KVCFG/{configuration.numbers}"
    stick.make_folder(folder)
    value = list_value(configuration)
    section, _, key = rules.LIST_KEY.partition(".")
    stick.write(f"{folder}/{list_name}", f"[{section}]\r\n{key}={value}\r\n".encode("ascii"))
    if configuration.control_file:
        names = [file.name for file in configuration.files]
        stick.write(f"{folder}/{configuration.control_file}", list_text(names))
    if configuration.files:
        stick.add(folder, [file.absolute() for file in configuration.files])
