"""Ini texts as the service reads them, which is not quite as other programs do. Pure.

Sections and keys are the same in capital and small letters, and the last of several lines for a key counts.
A comment begins its line with ";" and a text behind a section's "]" is a line of its own. A byte-order mark
belongs to the first line, so that this begins no section any more.
"""

import re

_SPACE = " \t\n\v\f\r"
_SECTION = re.compile(r"\[([^]\n]*)[]\n]?")
_LINE = re.compile(r"([^=\n]*)(?:=([^\n]*))?\n?")
_COMMENT = re.compile(r";[^\n]*\n?")


def read(text):
    """The values by "section.key" in small letters."""
    values, section, position = {}, "", 0
    while position < len(text):
        if text[position] in _SPACE:
            position += 1
        elif comment := _COMMENT.match(text, position):
            position = comment.end()
        elif head := _SECTION.match(text, position):
            section, position = head[1].strip(_SPACE), head.end()
        else:
            line = _LINE.match(text, position)
            key = line[1].strip(_SPACE)
            values[(f"{section}.{key}" if section else key).lower()] = (line[2] or "").strip(_SPACE)
            position = line.end()
    return values
