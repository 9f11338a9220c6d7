"""Names from outside: the target directory is a fence, and nothing beyond it is ever changed."""

import pytest

from quendal_tools import packet
from quendal_tools.board_files import APPLICATION, TARGET
from support import console, packets

PLACE = "DataRxFileElement<pos:3>::"
OUTSIDE = "/data/outside"
REFUSALS = {
    "empty": (b"", "Invalid access: a file name must not be empty"),
    "upwards": (b"../escaped.bin", "Invalid access: a file name must not lead upwards: ../escaped.bin"),
    "upwards in the middle": (
        b"sub/../../escaped.bin", "Invalid access: a file name must not lead upwards: sub/../../escaped.bin"),
    "upwards at the end": (b"sub/..", "Invalid access: a file name must not lead upwards: sub/.."),
    "only upwards": (b"..", "Invalid access: a file name must not lead upwards: .."),
    "zero byte": (b"good.bin\0/../x", "Invalid access: a file name must not hold a zero byte"),
    "zero byte only": (b"\0", "Invalid access: a file name must not hold a zero byte"),
    "directory": (b"sub", "Invalid access: a file name must not stand for a directory: sub"),
    "directory with slash": (b"sub/", "Invalid access: a file name must not stand for a directory: sub/"),
    "slash": (b"/", "Invalid access: a file name must not stand for a directory: /"),
    "point": (b".", "Invalid access: a file name must not stand for a directory: ."),
    "link to a directory": (b"way_out", "Invalid access: a file name must not stand for a directory: way_out"),
    "through a link": (
        b"way_out/escaped.bin", "Invalid access: a file name must not leave its directory: way_out/escaped.bin"),
    "missing folder": (
        b"none/x.bin", f"File not found: {TARGET}/none/: No such file or directory"),
    "absolute": (
        b"/data/outside/x.bin",
        f"File not found: {TARGET}//data/outside/: No such file or directory"),
    "name too long for the disk": (
        b"n" * 256, f"File access error: {TARGET}/{'n' * 256}: File name too long"),
}


def prepare(board):
    """A sub-folder, links that lead out, and things outside that must stay as they are."""
    board.write(OUTSIDE + "/precious", "precious")
    board.write(APPLICATION + "/precious", "precious")
    target = board.path(TARGET)
    (target / "sub").mkdir()
    (target / "sub/kept").write_text("kept")
    (target / "way_out").symlink_to(OUTSIDE)
    (target / "file_out").symlink_to(OUTSIDE + "/precious")
    (target / "dangling").symlink_to(OUTSIDE + "/new")
    (target / "sub_link").symlink_to("sub")


def everything(board):
    """Every file and directory of the board that is not the service's own business, with its content."""
    listing = board.run(["find", "/data", "/etc", "/root", "/tmp", "-printf", "%p %y %s %l\n"], check=True).stdout
    return sorted(listing.splitlines())


@pytest.fixture
def fenced(make_rig):
    rig = make_rig(before_start=prepare)
    rig.await_open()
    return rig


@pytest.mark.parametrize("case", REFUSALS)
def test_name_is_refused_with_769_and_nothing_is_changed(fenced, case):
    name, reason = REFUSALS[case]
    before = everything(fenced.board)
    mark = fenced.service.mark()

    peer = fenced.send(packets.BEFORE_FILE + packets.file_head(name, 3) + b"abc")

    assert fenced.text_since(mark) == (
        console.connected(peer) + console.file_named(name.decode()) + console.exception(PLACE, reason) +
        console.failed(1537) + console.reopened(peer))
    assert everything(fenced.board) == before
    fenced.assert_woken("NETW_UP", "RXCOMPLETE")


def test_links_are_replaced_and_never_followed(fenced):
    fenced.send(packet.file_packet("file_out", b"in"), packet.file_packet("dangling", b"in"))

    for name in ("file_out", "dangling"):
        path = fenced.board.path(f"{TARGET}/{name}")
        assert path.read_bytes() == b"in" and not path.is_symlink()
    assert fenced.board.path(OUTSIDE + "/precious").read_text() == "precious"
    assert not fenced.board.path(OUTSIDE + "/new").exists()


@pytest.mark.parametrize("name, stored", [
    ("sub/in.bin", "sub/in.bin"), ("sub//in2.bin", "sub/in2.bin"), ("./in3.bin", "in3.bin"), ("/in4.bin", "in4.bin"),
    ("/sub/in5.bin", "sub/in5.bin"), ("sub_link/in6.bin", "sub/in6.bin"), ("..in7.bin", "..in7.bin"),
    ("in8..", "in8.."), (".in9", ".in9"), ("sub/kept", "sub/kept"), (" in 10 ", " in 10 "), ("a" * 255, "a" * 255)])
def test_name_that_stays_inside_is_taken_as_it_came(shared_rig, name, stored):
    board = shared_rig.board
    if not board.path(f"{TARGET}/sub").exists():
        prepare(board)

    shared_rig.send(packet.file_packet(name, name.encode()))

    assert shared_rig.stored(stored) == name.encode()


def test_name_with_bytes_of_any_kind_is_written_and_stored_as_it_came(shared_rig):
    name = bytes(byte for byte in range(1, 256) if byte != ord("/"))
    mark = shared_rig.service.mark()

    shared_rig.send(packets.BEFORE_FILE + packets.file_head(name, 1) + b"x")

    text = shared_rig.text_since(mark).encode("utf-8", "surrogateescape")
    assert b"\nDataRxFileElement,fileAsciiName:" + name + b"\nDataProcHeader" in text
    assert (bytes(shared_rig.board.path(TARGET)) + b"/" + name) in [
        bytes(path) for path in shared_rig.board.path(TARGET).iterdir()]


@pytest.mark.parametrize("length", [1024, 1025, 65535])
def test_name_too_long_to_be_held_reports_1025_and_says_so(shared_rig, length):
    mark = shared_rig.service.mark()

    peer = shared_rig.send(packets.BEFORE_FILE + packets.file_head(b"n" * length, 0))

    assert shared_rig.text_since(mark) == (
        console.connected(peer) +
        console.exception("DataRxFileElement<pos:1>::",
                          f"Bad data format: a file name of {length} bytes, at most 1023 fit") +
        console.failed(1025) + console.reopened(peer))


def test_longest_name_that_is_held_goes_to_the_disk_which_decides(make_rig):
    rig = make_rig()
    rig.await_open()
    folder = "/".join(["d" * 200] * 4)
    rig.board.path(f"{TARGET}/{folder}").mkdir(parents=True)
    name = f"{folder}/" + "n" * (1023 - len(folder) - 1)

    rig.send(packet.file_packet(name, b"long"))

    assert rig.stored(name) == b"long"


def test_name_in_scratch_mode_is_fenced_by_the_scratch_directory(make_rig):
    rig = make_rig()
    rig.await_open()
    rig.board.write("/tmp/other", "precious")

    rig.send(packet.file_packet("FLDnCare.sys", b""), packet.file_packet("../other", b"x"))

    assert rig.board.path("/tmp/other").read_text() == "precious"
    rig.send(packet.file_packet("inside", b"x"))
    assert rig.stored("inside", "/tmp/Dest") == b"x"


def test_missing_target_directory_is_reported_and_later_made_good(make_rig):
    rig = make_rig()
    rig.await_open()
    rig.board.path(TARGET).rename(rig.board.path(TARGET + "2"))
    mark = rig.service.mark()

    peer = rig.send(packet.file_packet("x", b"x"))

    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named("x") +
        console.exception(PLACE, f"File not found: {TARGET}: No such file or directory") +
        console.failed(1537) + console.reopened(peer))
    rig.board.path(TARGET + "2").rename(rig.board.path(TARGET))
    rig.assert_good_transfer()
