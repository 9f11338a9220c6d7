"""What a power cut has left: read from the disk's image once a board has started on it again and let go of it."""

import dataclasses
import pathlib
import subprocess
import tempfile

from quendal_tools.board.layout import TARGET
from quendal_tools.power_cuts.payload import Payload
from quendal_tools.power_cuts.plan import ENDS
from quendal_tools.protocol.control_files import LIST_FILE

_TARGET_ON_DISK = TARGET.removeprefix("/data")  # the disk is mounted at /data


@dataclasses.dataclass(frozen=True)
class Remains:
    """The files of the transfer by state, {state: count}, and the names of whatever lies beside them."""

    states: dict[str, int]
    strays: tuple[str, ...]

    def __str__(self) -> str:
        files = ", ".join(f"{count} {state}" for state, count in self.states.items())
        return files + (f"; beside them {' '.join(self.strays)}" if self.strays else "")


def look(image: pathlib.Path, payload: Payload) -> Remains:
    """The remains on an image that is not mounted. OSError when the file system itself is damaged.

    That would be the fault of the disk or the kernel, and say nothing about the service.
    """
    checked = subprocess.run(["e2fsck", "-f", "-n", image], capture_output=True, text=True, check=False)
    if checked.returncode != 0:
        raise OSError(f"the file system is damaged: {checked.stdout}{checked.stderr}")
    with tempfile.TemporaryDirectory(prefix="quendal-remains-") as directory:
        # It cannot give every user the files' owners and says so; a file that it cannot read would be missing.
        copying = f"rdump {_TARGET_ON_DISK} {directory}"
        subprocess.run(["debugfs", "-R", copying, image], capture_output=True, check=True)
        target = pathlib.Path(directory, pathlib.PurePath(_TARGET_ON_DISK).name)
        found = {path.name: path.read_bytes() if path.is_file() else None for path in target.iterdir()}
    strays = found.keys() - payload.new.keys() - {LIST_FILE, *ENDS.values()}
    return Remains(dict(sorted(payload.states(found).items())), tuple(sorted(strays)))
