"""Names from outside that are refused for what they say, whatever lies on the disk."""

import pytest

from support.fence import assert_refused

pytestmark = pytest.mark.long(60)  # all together, on the board that they share

REFUSALS = {
    "empty": (b"", "Invalid access: a file name must not be empty"),
    "upwards": (b"../escaped.bin", "Invalid access: a file name must not lead upwards: ../escaped.bin"),
    "upwards in the middle": (
        b"sub/../../escaped.bin", "Invalid access: a file name must not lead upwards: sub/../../escaped.bin"),
    "upwards at the end": (b"sub/..", "Invalid access: a file name must not lead upwards: sub/.."),
    "only upwards": (b"..", "Invalid access: a file name must not lead upwards: .."),
    "zero byte": (b"good.bin\0/../x", "Invalid access: a file name must not hold a zero byte"),
    "zero byte only": (b"\0", "Invalid access: a file name must not hold a zero byte"),
    "slash": (b"/", "Invalid access: a file name must not stand for a directory: /"),
    "point": (b".", "Invalid access: a file name must not stand for a directory: ."),
}


@pytest.mark.parametrize("case", REFUSALS)
def test_name_is_refused_with_769_and_nothing_is_changed(fenced_rig, case):
    assert_refused(fenced_rig, *REFUSALS[case])
