"""A target directory with traps in it, and the proof that a refused name has changed nothing."""

from quendal_tools.board import console
from quendal_tools.board.layout import APPLICATION, TARGET
from support import packets

OUTSIDE = "/data/outside"


def prepare(board):
    """Once: a sub-folder, links that lead out, and things outside that must stay as they are."""
    if board.path(OUTSIDE).exists():
        return
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


def assert_refused(rig, name, reason):
    """A file of this name is reported with 1537 and this reason, and nothing on the board is changed."""
    before, woken = everything(rig.board), rig.display.names()
    mark = rig.service.mark()

    peer = rig.send(packets.BEFORE_FILE + packets.file_head(name, 3) + b"abc")

    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named(name.decode()) +
        console.exception("DataRxFileElement<pos:3>::", reason) + console.failed(1537) + console.reopened(peer))
    assert everything(rig.board) == before
    rig.assert_woken(*woken, "RXCOMPLETE")
