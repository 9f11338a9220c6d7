"""What ends the start-up, with which status and which last words."""

import shutil

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import APPLICATION, DEST, WORK, static_configuration
from quendal_tools.configuration.example import ADDRESS, GATEWAY
from quendal_tools.configuration.ini_text import with_keys

INI = WORK + "/Quendal_L.ini"
STATIC = WORK + "/IPAddress.ini"
BAD_CONFIGURATION = "\nMcTask: Exception Met!\nException Message:"
NO_RESOLV_CONF_YET = ""


def remove_directories(board):
    shutil.rmtree(board.path(WORK))
    shutil.rmtree(board.path(DEST))


def test_missing_ini_ends_with_1_after_the_directories_were_created(start):
    status, text, board = start(remove_directories)

    assert status == 1
    assert text == (console.BANNER + 2 * (console.DEST_CREATED + console.WORK_CREATED) +
                    "\nQuendal_L.ini does not exist in Work dir;quit...done!")
    for directory in (DEST, WORK, "/tmp/Dest", "/tmp/Work"):
        assert board.path(directory).is_dir(), directory


def test_missing_ini_with_all_directories_there_creates_nothing(start):
    status, text, _ = start(files={INI: None, "/tmp/Dest/x": "", "/tmp/Work/x": ""})

    assert (status, text) == (1, console.BANNER + "\nQuendal_L.ini does not exist in Work dir;quit...done!")


def bad_static_files():
    good = static_configuration(ADDRESS, GATEWAY)
    yield pytest.param(with_keys(good, {"DefaultGateway": None}), id="without a gateway")
    yield pytest.param("", id="empty")
    yield pytest.param("\ufeff[x]\n", id="byte-order mark")


@pytest.mark.parametrize("content", bad_static_files())
def test_bad_static_address_file_ends_with_1_and_changes_nothing(start, content):
    status, text, board = start(files={STATIC: content})

    assert status == 1
    assert text == (console.BANNER + console.DEST_CREATED + console.WORK_CREATED +
                    "\nstatic ip file parsing error, exit...")
    assert board.commands() == []
    assert board.path("/etc/resolv.conf").read_text() == NO_RESOLV_CONF_YET


def test_missing_group_ends_with_101_before_anything_is_reported(start):
    status, text, board = start(ini={"lcdMcastIp": None})

    assert (status, board.commands()) == (101, [])
    assert text == (console.BANNER + console.DEST_CREATED + console.WORK_CREATED +
                    BAD_CONFIGURATION + "Not found: Tessane Param.lcdMcastIp")


def test_missing_target_directory_key_ends_with_101_after_all_reports(start):
    status, text, board = start(ini={"targetRootDir": None})

    assert (status, board.commands()) == (101, [])
    assert text == console.start_up() + BAD_CONFIGURATION + "Not found: Tessane Param.targetRootDir"


@pytest.mark.parametrize("key", ["lcdMcastPort", "mcRstHrFactor"])
def test_number_that_is_none_ends_with_101(start, key):
    status, text, _ = start(ini={key: "many"})

    assert status == 101
    assert text.endswith(BAD_CONFIGURATION + "Syntax error: Not a valid integer: many")


def test_identity_file_without_a_number_ends_with_101_and_names_it(start):
    status, text, _ = start(files={WORK + "/KvId.ini": "GROUPNO = 1\nCOLUMNNO = 2\n"})

    assert status == 101
    assert text.endswith(f"{BAD_CONFIGURATION}Not found: DISPLAYNO")


@pytest.mark.parametrize("file, last_words", [
    ("KvId.ini", "File not found: ../Work/KvId.ini"),
    ("CurLayOut.cfg", "File not found: ../Work/CurLayOut.cfg"),
])
def test_missing_file_ends_with_101_and_names_it(start, file, last_words):
    status, text, _ = start(files={f"{WORK}/{file}": None})

    assert status == 101
    assert text.endswith(BAD_CONFIGURATION + last_words)


def test_directory_that_cannot_be_created_ends_with_70_and_the_reason(start):
    def make_read_only(board):
        shutil.rmtree(board.path(DEST))
        board.run(["mount", "--bind", APPLICATION, APPLICATION], check=True)
        board.run(["mount", "-o", "remount,bind,ro", APPLICATION], check=True)

    status, text, _ = start(make_read_only)

    assert status == 70
    assert text == console.BANNER + console.DEST_CREATED + "File is read-only: ../Dest\n"


def test_temporary_directory_that_is_missing_ends_with_70_and_the_reason(start):
    status, text, _ = start(env={"TMPDIR": "/nowhere"})

    assert status == 70
    assert text == console.BANNER + console.DEST_CREATED + "File not found: /nowhere//Dest\n"
