"""Ini texts as the service reads them, which is not quite as other programs do. Pure.

Sections and keys are the same in capital and small letters, and the last of several lines for a key counts.
A comment begins its line with ";" and a text behind a section's "]" is a line of its own. A byte-order mark
belongs to the first line, so that this begins no section any more.
"""

import re
from collections.abc import Mapping

# Keys to change in an ini text, and their values; None for one to take out.
Overrides = Mapping[str, object]

_SPACE = " \t\n\v\f\r"
_SECTION = re.compile(r"\[([^]\n]*)[]\n]?")
_LINE = re.compile(r"([^=\n]*)(?:=([^\n]*))?\n?")
_COMMENT = re.compile(r";[^\n]*\n?")


def read(text: str) -> dict[str, str]:
    """The values by "section.key" in small letters."""
    values: dict[str, str] = {}
    section, position = "", 0
    while position < len(text):
        if text[position] in _SPACE:
            position += 1
        elif comment := _COMMENT.match(text, position):
            position = comment.end()
        elif head := _SECTION.match(text, position):
            section, position = head[1].strip(_SPACE), head.end()
        elif line := _LINE.match(text, position):
            key = line[1].strip(_SPACE)
            values[(f"{section}.{key}" if section else key).lower()] = (line[2] or "").strip(_SPACE)
            position = line.end()
    return values


def with_keys(text: str, overrides: Overrides) -> str:
    """An ini text with some keys changed, added, or (value None) taken out.

    A key is "key" in the section "Tessane Param" (or in a file without sections), or "section.key".
    """
    for name, value in overrides.items():
        section, _, key = name.rpartition(".")
        new = [] if value is None else [f"{key} = {value}"]
        if not section:
            section = "Tessane Param" if "[Tessane Param]" in text else ""
        text = _with_line(text, section, key, new)
    return text


def _with_line(text: str, section: str, key: str, new: list[str]) -> str:
    kept: list[str] = []
    current, done = "", not new
    for old in text.splitlines():
        if old.startswith("["):
            if current == section and not done:
                kept += new
                done = True
            current = old.strip().strip("[]")
        if current != section or not re.match(rf"{re.escape(key)}\s*=", old):
            kept.append(old)
        elif not done:
            kept += new
            done = True
    if not done:
        kept += new if current == section else [f"[{section}]", *new]
    return "\n".join(kept) + "\n"
