"""A display that waits on a board, seen from the test process."""

from quendal_tools.board.display import EVENTS, VARIABLE_PREFIX
from quendal_tools.board.waiting import wait_until


class DisplayWatch:
    """The display program on a board; its semaphores exist until it is stopped."""

    def __init__(self, process, output_file):
        self.process = process
        self._output_file = output_file
        wait_until(self._ready, 10, "the display's seven semaphores")
        self.env = dict(line.split("=") for line in self._lines() if line.startswith(VARIABLE_PREFIX))

    def _ready(self):
        return len(self._lines()) >= len(EVENTS)

    def _lines(self):
        text = self._output_file.read_text()
        return text[:text.rfind("\n") + 1].splitlines()

    def events(self):
        """Every wake-up so far as (seconds since 1970, event name such as "RXCOMPLETE")."""
        fields = (line.split("\t") for line in self._lines()[len(EVENTS):])
        return [(float(moment), name) for moment, name in fields]

    def names(self):
        return [name for _, name in self.events()]

    def wait_for(self, name, count=1, timeout=10):
        """Waits until the event has come count times in all; returns the time of the last of these."""
        def times():
            found = [moment for moment, event in self.events() if event == name]
            return found if len(found) >= count else None

        return wait_until(times, timeout, f"wake-up {count} by {name}")[count - 1]

    def stop(self):
        """Ends the display, which removes its semaphores."""
        self.process.terminate()
        self.process.wait(10)
