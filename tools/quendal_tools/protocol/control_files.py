"""The files that are no content but say something about the others of a transfer."""

from collections.abc import Iterable

LIST_FILE = "FileList.sys"
DONT_CARE_LIST_FILE = "FLDnCare.sys"
STOP_MARKER = "kvXferStop.sys"


def list_text(names: Iterable[str]) -> bytes:
    """The content of a list file: the names of the files that follow, one on each line."""
    return "".join(name + "\r\n" for name in names).encode("ascii")
