"""Connections that come and go, in the application's log: by default, with the shipped file, and elsewhere."""

import pathlib

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import BIN
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from support import packets

PROPERTIES = BIN + "/Quendal_L.properties"
SHIPPED = pathlib.Path(__file__).resolve().parents[2] / "packaging/Quendal_L.properties"
LOG = "/var/log/Quendal_L.log"


def edited(text, wanted):
    """The shipped file as its reader would edit it: the console's lines out, the commented lines of wanted in."""
    lines = []
    for line in text.splitlines():
        commented = line.removeprefix("#")
        if line.startswith("logging."):
            continue
        lines.append(commented if commented.startswith(wanted) else line)
    return "\n".join(lines) + "\n"


def expected(peer):
    return (console.connected(peer) + console.closed_by_peer("DataProcHeader<pos:0>:") + console.failed(259) +
            console.reopened(peer))


def start(make_rig, properties):
    """A rig whose board has such a properties file beside the program, or none."""
    def place(board):
        if properties is not None:
            board.write(PROPERTIES, properties)

    rig = make_rig(before_start=place)
    rig.await_open()
    return rig


def test_they_are_on_the_console_with_the_shipped_properties(make_rig):
    rig = start(make_rig, SHIPPED.read_text())
    mark = rig.service.mark()

    peer = rig.send()

    assert rig.text_since(mark) == expected(peer)
    assert rig.service.stdout_text() == ""


def test_they_are_on_the_console_without_a_properties_file(make_board, quendal):
    board = make_board()
    program = board.install(quendal)
    board.path(PROPERTIES).unlink(missing_ok=True)
    board.path(f"{BIN}/bare").write_bytes(board.path(program).read_bytes())
    board.path(f"{BIN}/bare").chmod(0o755)
    errors = board.directory / "bare-stderr"
    with errors.open("wb") as stream:
        process = board.popen([f"{BIN}/bare"], cwd=BIN, stderr=stream)
    wait_until(lambda: console.OPEN in errors.read_text(), 30, "the open port")
    mark = len(errors.read_text())

    with board.pc.connect(DATA_PORT) as connection:
        peer = "{}:{}".format(*connection.getsockname())
        wait_until(lambda: console.connected(peer) in errors.read_text(), 10, "the greeting")
    wait_until(lambda: console.OPEN in errors.read_text()[mark:], 10, "the port's re-opening")

    assert console.without_multicast(errors.read_text()[mark:]) == expected(peer)
    process.terminate()
    assert process.wait(20) == 0


def test_edited_properties_send_them_to_a_file_and_the_rest_stays_on_the_console(make_rig):
    rig = start(make_rig, edited(SHIPPED.read_text(), ("logging.loggers.root.channel = file",
                                                       "logging.channels.file.")))
    mark = rig.service.mark()
    with rig.board.pc.connect(DATA_PORT) as connection:
        peer = "{}:{}".format(*connection.getsockname())
    rig.await_open(mark)

    assert rig.text_since(mark) == expected(peer).replace(console.connected(peer), "").replace(
        console.disconnected(peer), "")
    assert rig.board.path(LOG).read_text() == console.connected(peer) + console.disconnected(peer)


def test_level_warning_leaves_them_out(make_rig):
    rig = start(make_rig, SHIPPED.read_text().replace("#logging.loggers.root.level = warning",
                                                      "logging.loggers.root.level = warning"))
    mark = rig.service.mark()
    with rig.board.pc.connect(DATA_PORT) as connection:
        connection.sendall(packets.header(1))
        peer = "{}:{}".format(*connection.getsockname())
    rig.await_open(mark)

    assert rig.text_since(mark) == expected(peer).replace(console.connected(peer), "").replace(
        console.disconnected(peer), "")


@pytest.mark.parametrize("text", ["logging.channels.x.class = NoSuchChannel\nlogging.loggers.root.channel = x\n"])
def test_properties_that_cannot_be_used_end_the_start_with_the_reason(make_board, quendal, text):
    board = make_board(files={PROPERTIES: text})
    service = board.start_service(quendal)

    assert service.wait(20) == 78
    assert service.stderr_text() == "Not found: NoSuchChannel\n"
