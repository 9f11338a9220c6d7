"""Names from outside: the target directory is a fence, and nothing beyond it is ever changed."""

import pytest

from quendal_tools.board.layout import TARGET
from quendal_tools.protocol import packet
from support.fence import OUTSIDE, assert_refused

pytestmark = pytest.mark.long(35)  # all together, on the board that they share

# One of each kind, since each takes the service five seconds; the unit tests have the others.
REFUSALS = {
    "upwards": (b"../escaped.bin", "Invalid access: a file name must not lead upwards: ../escaped.bin"),
    "zero byte before all else": (b"good.bin\0/../x", "Invalid access: a file name must not hold a zero byte"),
    "through a link": (
        b"way_out/escaped.bin", "Invalid access: a file name must not leave its directory: way_out/escaped.bin"),
    "absolute": (
        b"/data/outside/x.bin",
        f"File not found: {TARGET}//data/outside/: No such file or directory"),
    "name too long for the disk": (
        b"n" * 256, f"File access error: {TARGET}/{'n' * 256}: File name too long"),
}


@pytest.mark.parametrize("case", REFUSALS)
def test_name_is_refused_with_1537_and_nothing_is_changed(fenced_rig, case):
    assert_refused(fenced_rig, *REFUSALS[case])


def test_links_are_replaced_and_never_followed(fenced_rig):
    fenced_rig.send(packet.file_packet("file_out", b"in"), packet.file_packet("dangling", b"in"))

    for name in ("file_out", "dangling"):
        path = fenced_rig.board.path(f"{TARGET}/{name}")
        assert path.read_bytes() == b"in" and not path.is_symlink()
    assert fenced_rig.board.path(OUTSIDE + "/precious").read_text() == "precious"
    assert not fenced_rig.board.path(OUTSIDE + "/new").exists()


def test_names_that_stay_inside_are_taken_as_they_came(fenced_rig):
    places = {
        "sub/in.bin": "sub/in.bin", "sub//in2.bin": "sub/in2.bin", "./in3.bin": "in3.bin", "/in4.bin": "in4.bin",
        "/sub/in5.bin": "sub/in5.bin", "sub_link/in6.bin": "sub/in6.bin", "..in7.bin": "..in7.bin",
        "in8..": "in8..", ".in9": ".in9", "sub/kept": "sub/kept", " in 10 ": " in 10 ", "a" * 255: "a" * 255}

    fenced_rig.send(*(packet.file_packet(name, name.encode()) for name in places))

    assert {name: fenced_rig.stored(place) for name, place in places.items()} == {
        name: name.encode() for name in places}
