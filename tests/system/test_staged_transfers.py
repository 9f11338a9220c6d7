"""Transfers with storeMode staged: the set of files changes as one, or not at all."""

import signal
import zlib

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol import packet
from support.rig import peer_of

STAGED = {"storeMode": "staged"}
FOLDER = f"{TARGET}/.quendal-staged"
OLD = {"a.bin": b"old a", "sub/b.bin": b"old b"}
NEW = {"FileList.sys": b"a.bin\r\n", "a.bin": b"new a" * 100_000, "sub/b.bin": b"new b", "c.bin": b""}
SET = b"".join(packet.file_packet(name, data) for name, data in NEW.items())
STOP = packet.file_packet("kvXferStop.sys", b"stop")
STOPPED = {"kvXferStop.sys": b"stop"}
THROWN_AWAY = "\nA transfer that had not ended has been thrown away"


def write_old_set(board):
    for name, data in OLD.items():
        board.write(f"{TARGET}/{name}", data)


def files_of(board):
    """All files below the target directory and what they hold, whether hidden or not."""
    root = board.path(TARGET)
    return {str(path.relative_to(root)): path.read_bytes() for path in root.rglob("*") if path.is_file()}


@pytest.fixture
def rig(make_rig):
    rig = make_rig(ini=STAGED, before_start=write_old_set)
    rig.await_ready()
    return rig


def broken_off(count):
    return f"\nA transfer has broken off, its staged files are thrown away: {count}"


def restart(rig, quendal):
    rig.service = rig.board.start_service(quendal, env=rig.display.env)
    rig.services.append(rig.service)
    rig.service.wait_for(console.DATA_TASK_START)
    return console.before_tasks(rig.service.stderr_text())


def test_the_set_is_in_place_when_the_display_is_told_and_not_before_it_was_warned(rig):
    mark = rig.service.mark()
    with rig.session() as connection:
        connection.sendall(SET)
        rig.await_read(connection)
        wait_until(lambda: rig.board.path(f"{FOLDER}/3").exists(), 10, "the last file's arrival")
        assert {name: rig.stored(name) for name in OLD} == OLD
        connection.sendall(STOP)
        rig.display.wait_for("START2RX")
        assert {name: rig.stored(name) for name in OLD} == OLD
        rig.display.wait_for("RXCOMPLETE")
        assert {name: rig.stored(name) for name in NEW} == NEW
    assert files_of(rig.board) == {**NEW, **STOPPED}
    assert not rig.board.path(FOLDER).exists()
    rig.assert_woken("NETW_UP", "START2RX", "RXCOMPLETE")
    assert "staged" not in rig.text_since(mark)


def test_a_connection_that_breaks_off_leaves_the_old_set_and_the_next_transfer_arrives(rig):
    mark = rig.service.mark()
    rig.send(SET, STOP[:10])
    assert files_of(rig.board) == OLD
    assert broken_off(4) in rig.text_since(mark)
    assert not rig.board.path(FOLDER).exists()

    with rig.session() as connection:
        connection.sendall(SET + STOP)
        rig.display.wait_for("RXCOMPLETE", timeout=10)
    assert files_of(rig.board) == {**NEW, **STOPPED}


def test_a_link_that_goes_leaves_the_old_set(rig):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.sendall(SET)
        rig.await_read(connection)
        rig.board.cable(False)
        rig.service.wait_for(broken_off(4), timeout=30, after=mark)

    assert files_of(rig.board) == OLD
    rig.board.cable(True)


def test_a_refused_name_leaves_the_old_set(rig):
    mark = rig.service.mark()
    with rig.session() as connection:
        peer = peer_of(connection)
        connection.sendall(SET + packet.file_packet("missing/x", b"") + STOP)
        rig.service.wait_for(console.failed(1537), timeout=20, after=mark)
    assert rig.text_since(mark) == (
        console.connected(peer) + "".join(console.file_named(name) for name in NEW) + console.file_named("missing/x") +
        console.exception("DataRxFileElement<pos:3>::",
                          f"File not found: {TARGET}/missing/: No such file or directory") +
        console.failed(1537) + console.CLOSING + console.disconnected(peer) + broken_off(4) +
        console.CLOSED + console.WAITING + console.OPENING + console.OPEN)
    assert files_of(rig.board) == OLD
    rig.assert_woken("NETW_UP", "RXCOMPLETE")


def test_a_folder_on_another_file_system_is_refused(make_rig):
    def mount_another(board):
        write_old_set(board)
        board.run(["mount", "-t", "tmpfs", "tmpfs", f"{TARGET}/sub"], check=True)

    rig = make_rig(ini=STAGED, before_start=mount_another)
    rig.await_ready()
    mark = rig.service.mark()
    rig.send(SET, STOP)

    assert ("Exception Message:Invalid access: a staged file's folder must be on the target directory's file system: "
            "sub/b.bin") in rig.text_since(mark)
    assert rig.stored("a.bin") == OLD["a.bin"]


def test_a_set_that_does_not_fit_leaves_the_old_one(make_rig):
    def mount_small_disk(board):
        board.run(["mount", "-t", "tmpfs", "-o", "size=300k", "tmpfs", TARGET], check=True)

    rig = make_rig(ini=STAGED, before_start=mount_small_disk)
    rig.await_ready()
    rig.send(packet.file_packet("a.bin", b"old a"))
    mark = rig.service.mark()
    with rig.session() as connection:
        connection.sendall(packet.file_packet("FileList.sys", b"") + packet.file_packet("a.bin", bytes(400_000)))
        rig.service.wait_for(console.failed(1537), timeout=20, after=mark)

    assert f"Cannot write file: {FOLDER}/1: No space left on device" in rig.text_since(mark)
    assert rig.board.run(["find", TARGET, "-mindepth", "1"]).stdout == f"{TARGET}/a.bin\n"
    assert rig.board.run(["cat", f"{TARGET}/a.bin"]).stdout == "old a"


def test_what_a_killed_service_has_collected_is_thrown_away_at_the_next_start(rig, quendal):
    with rig.connect() as connection:
        connection.sendall(SET)
        rig.await_read(connection)
        rig.service.send_signal(signal.SIGKILL)
        rig.service.wait()
        rig.services.remove(rig.service)

    text = restart(rig, quendal)

    assert text.endswith(THROWN_AWAY)
    assert files_of(rig.board) == OLD


@pytest.mark.parametrize("mode", ["staged", "direct"])
def test_a_start_finishes_what_was_cut_in_its_renaming(make_rig, mode):
    journal = b"staged files 1\n" + b"".join(
        b"%d %d %s\n" % (number, len(name), name.encode()) for number, name in enumerate(NEW))
    journal += b"end %08X\n" % zlib.crc32(journal)

    def cut(board):
        write_old_set(board)
        for number, (name, data) in enumerate(NEW.items()):
            done = name == "a.bin"
            board.write(f"{TARGET}/{name}" if done else f"{FOLDER}/{number}", data)
        board.write(f"{FOLDER}/journal", journal)

    rig = make_rig(ini={"storeMode": mode}, before_start=cut)
    rig.service.wait_for(console.DATA_TASK_START)

    assert console.before_tasks(rig.text_since(0)).endswith("\nA transfer of 4 staged files has been finished")
    assert files_of(rig.board) == NEW


def test_a_value_that_is_no_mode_ends_the_start_up(make_board, quendal):
    service = make_board(ini={"storeMode": "Staged"}).start_service(quendal)

    assert service.wait(30) == 101
    assert service.stderr_text().endswith(
        "\nMcTask: Exception Met!\nException Message:Invalid argument: "
        "Tessane Param.storeMode must be direct or staged: Staged")
