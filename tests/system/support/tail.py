"""Reads on in a growing file, without reading again what has been read."""

from quendal_tools.board.waiting import wait_until


class Tail:
    """Begins at the file's end of the moment."""

    def __init__(self, path):
        self._file = path.open("rb")
        self._file.seek(0, 2)
        self._kept = b""

    def until(self, wanted, timeout):
        """Waits for these bytes; gives all from the last ones awaited up to and with them."""
        def found():
            self._kept += self._file.read()
            return wanted in self._kept

        wait_until(found, timeout, repr(wanted))
        text, wanted, self._kept = self._kept.partition(wanted)
        return text + wanted
