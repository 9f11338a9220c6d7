"""Many boards on one bridge, each with an identity of its own: group 1, ten units in each column.

    with Fleet(100) as fleet:
        services = fleet.start_services("build/release/Quendal_L")
"""

import concurrent.futures
import pathlib
from typing import Any

from quendal_tools.board.layout import WORK
from quendal_tools.board.service import Service
from quendal_tools.configuration.identity import Numbers
from quendal_tools.configuration.ini_text import with_keys
from quendal_tools.configuration.places import EXAMPLE
from quendal_tools.sandbox.board import Board
from quendal_tools.sandbox.namespace import Process
from quendal_tools.sandbox.pc import Pc

MAX_BOARDS = 240

_AT_ONCE = 8
_FIRST_HOST = 10
_UNITS_IN_COLUMN = 10
_GROUP = 1


def numbers_of(index: int) -> Numbers:
    """Who the board with this index, from 0, is."""
    return Numbers(_GROUP, index // _UNITS_IN_COLUMN + 1, index % _UNITS_IN_COLUMN + 1)


def identity_file(numbers: Numbers) -> dict[str, str]:
    """The file that tells a board who it is, as Board's files wants it."""
    keys = {"GROUPNO": numbers.group, "COLUMNNO": numbers.column, "DISPLAYNO": numbers.unit}
    example = (EXAMPLE / "KvId.ini").read_text()
    return {WORK + "/KvId.ini": with_keys(example, keys)}


class Fleet:
    """Brings the boards up, and down again at the with statement's end; options are Board's."""

    def __init__(self, count: int, *, base_dir: str | None = None, **options: Any) -> None:
        if not 1 <= count <= MAX_BOARDS:
            raise ValueError(f"a bridge takes 1 to {MAX_BOARDS} boards")
        self.boards: list[Board] = []
        self.pc = Pc(base_dir=base_dir)
        network = self.pc.address.rpartition(".")[0]

        def make(index: int) -> Board:
            return Board(pc=self.pc, address=f"{network}.{_FIRST_HOST + index}",
                         files=identity_file(numbers_of(index)), **options)

        try:
            with concurrent.futures.ThreadPoolExecutor(_AT_ONCE) as pool:
                self.boards += pool.map(make, range(count))
        except BaseException:
            self.pc.close()
            raise

    def __enter__(self) -> "Fleet":
        return self

    def __exit__(self, *_: object) -> None:
        for board in self.boards:
            board.close()
        self.pc.close()

    def start_dhcp_server(self) -> Process:
        return self.pc.start_dhcp_server([(board.hardware_address, board.address) for board in self.boards])

    def start_services(self, binary: str | pathlib.Path, **options: Any) -> list[Service]:
        """Starts the service on every board, without waiting for any."""
        return [board.start_service(binary, **options) for board in self.boards]
