"""Start-up files that are no plain files, or cannot be read to their end: the start ends at once and says why."""

import os
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import MAKER_WORK, WORK, static_configuration
from quendal_tools.configuration.example import ADDRESS, GATEWAY

BAD_CONFIGURATION = "\nMcTask: Exception Met!\nException Message:"
STATIC = WORK + "/IPAddress.ini"
# As the service names them.
FILES = {"../Work/Quendal_L.ini": WORK + "/Quendal_L.ini", "../Work/KvId.ini": WORK + "/KvId.ini",
         MAKER_WORK + "/DIP.ini": MAKER_WORK + "/DIP.ini", "../Work/CurLayOut.cfg": WORK + "/CurLayOut.cfg"}


def directory(path):
    path.mkdir()


def fifo(path):
    os.mkfifo(path)


def device(path):
    path.symlink_to("/dev/zero")


def failing(path):
    # A plain file to the kernel, whose first byte cannot be read.
    path.symlink_to("/proc/self/mem")


def big(path):
    path.write_bytes(b"a=1\n" * 300_000)


NOT_PLAIN = "Cannot open file: {}: not a plain file"
REFUSALS = [(directory, NOT_PLAIN), (fifo, NOT_PLAIN), (device, NOT_PLAIN),
            (failing, "Cannot read file: {}: Input/output error"),
            (big, "Cannot read file: {}: more than 1048576 bytes")]


def made(board, path, make):
    place = board.path(path)
    place.parent.mkdir(parents=True, exist_ok=True)
    place.unlink(missing_ok=True)
    make(place)


@pytest.mark.parametrize("name", FILES)
@pytest.mark.parametrize("make, refusal", REFUSALS)
def test_file_that_is_refused_ends_with_101_and_says_why(start, name, make, refusal):
    begin = time.monotonic()
    status, text, board = start(lambda board: made(board, FILES[name], make))

    assert status == 101
    assert time.monotonic() - begin < 10
    assert text.endswith(BAD_CONFIGURATION + refusal.format(name))
    assert board.commands() == []


def test_folder_as_identity_file_ends_with_101_at_once(start):
    status, text, _ = start(ini={"kvIdFile": "../"})

    assert (status, text.partition(BAD_CONFIGURATION)[2]) == (101, NOT_PLAIN.format("../"))


@pytest.mark.parametrize("make", [make for make, _ in REFUSALS])
def test_static_address_file_that_is_refused_ends_with_1_and_changes_nothing(start, make):
    status, text, board = start(lambda board: made(board, STATIC, make))

    assert status == 1
    assert text == (console.BANNER + console.DEST_CREATED + console.WORK_CREATED +
                    "\nstatic ip file parsing error, exit...")
    assert board.commands() == []


def multiplying(key):
    """A key whose value would be 8 to the 8th power letters long."""
    lines = "".join(f"v{level}=" + f"${{x.v{level + 1}}}" * 8 + "\n" for level in range(8))
    return f"{key}=${{x.v0}}\n[x]\n{lines}v8=x\n"


def test_references_that_multiply_end_with_101(start):
    def prepare(board):
        ini = board.path(WORK + "/Quendal_L.ini")
        ini.write_text(ini.read_text() + "[Tessane Param]\n" + multiplying("kvIdFile"))

    status, text, _ = start(prepare)

    assert status == 101
    assert text.endswith(BAD_CONFIGURATION +
                         "Bad data format: ../Work/Quendal_L.ini: its references lead to too much text")


def test_references_that_multiply_in_the_static_address_end_with_1(start):
    static = static_configuration(ADDRESS, GATEWAY)
    status, text, _ = start(files={STATIC: static + multiplying("IP")})

    assert status == 1
    assert text.endswith("\nstatic ip file parsing error, exit...")


def test_link_to_nowhere_is_a_missing_file(start):
    status, text, _ = start(lambda board: made(board, WORK + "/CurLayOut.cfg", lambda path: path.symlink_to("gone")))

    assert (status, text.partition(BAD_CONFIGURATION)[2]) == (101, "File not found: ../Work/CurLayOut.cfg")
