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


def with_keys(text, overrides):
    """An ini text with some keys changed, added, or (value None) taken out.

    A key is "key" in the section "Tessane Param" (or in a file without sections), or "section.key".
    """
    for name, value in overrides.items():
        section, _, key = name.rpartition(".")
        line = None if value is None else f"{key} = {value}"
        if not section:
            section = "Tessane Param" if "[Tessane Param]" in text else ""
        text = _with_line(text, section, key, line)
    return text


def _with_line(text, section, key, line):
    kept, current, done = [], "", line is None
    for old in text.splitlines():
        if old.startswith("["):
            if current == section and not done:
                kept.append(line)
                done = True
            current = old.strip().strip("[]")
        if current == section and re.match(rf"{re.escape(key)}\s*=", old):
            if done:
                continue
            old, done = line, True
        kept.append(old)
    if not done:
        kept += [line] if current == section else [f"[{section}]", line]
    return "\n".join(kept) + "\n"
