"""Names of all bytes and lengths, and where they lead in which mode."""

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.protocol import packet
from support import packets

PLACE = "DataRxFileElement<pos:3>::"


def test_name_with_bytes_of_any_kind_is_written_and_stored_as_it_came(shared_rig):
    name = bytes(byte for byte in range(1, 256) if byte != ord("/"))
    mark = shared_rig.service.mark()

    shared_rig.send(packets.BEFORE_FILE + packets.file_head(name, 1) + b"x")

    text = shared_rig.text_since(mark).encode("utf-8", "surrogateescape")
    assert b"\nDataRxFileElement,fileAsciiName:" + name + b"\nDataProcHeader" in text
    assert (bytes(shared_rig.board.path(TARGET)) + b"/" + name) in [
        bytes(path) for path in shared_rig.board.path(TARGET).iterdir()]


def test_name_too_long_to_be_held_reports_1025_and_says_so(shared_rig):
    length = 1024
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
