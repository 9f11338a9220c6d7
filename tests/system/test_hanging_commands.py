"""Commands that hang: the cycle goes on without them, a stop does not wait for them, and nothing stays behind."""

import signal
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.sandbox.board_root import BLOCK_DEVICES
from support.stick import SERVED_SECONDS, start_with_stick

PATIENCE_SECONDS = 60
TO_THE_END = 4.5  # SIGTERM, 2 s, SIGKILL, half a second
STOP_SECONDS = 2 + TO_THE_END + 1

# Deaf to SIGTERM, with a child of its own that is, too.
HANGING = """#!/bin/sh
trap '' TERM
echo $$ >>/tmp/hanging
sleep infinity &
echo $! >>/tmp/hanging
while :; do wait; done
"""
DHCP_COMMAND = "sudo dhcpcd -d eth0  -t 30 -L"
STARTED = "dhcpcd up eth0 cmd rc code"

# Has the kernel refuse each signal that the program behind it wants to send: a child of root, seen by another user.
WITHOUT_SIGNALS = """
import ctypes, errno, os, platform, struct, sys
number = {"x86_64": 62, "aarch64": 129}[platform.machine()]
code = b"".join(struct.pack("HBBI", *word) for word in (
    (0x20, 0, 0, 0), (0x15, 0, 1, number), (6, 0, 0, 0x50000 | errno.EPERM), (6, 0, 0, 0x7FFF0000)))
program = ctypes.create_string_buffer(code)
filter = struct.pack("HxxxxxxP", 4, ctypes.addressof(program))
libc = ctypes.CDLL(None, use_errno=True)
assert libc.prctl(38, 1, 0, 0, 0) == 0 and libc.prctl(22, 2, filter) == 0
os.execv(sys.argv[1], sys.argv[1:])
"""


def hanging(name):
    return lambda board: board.replace_command(name, HANGING)


def ended(command, why):
    return f"\nCommand ended{why}:[{command}]"


def await_hanging(rig, count=2):
    """Waits for the stand-ins to hang; their numbers, each with its child's."""
    noted = rig.board.path("/tmp/hanging")
    wait_until(lambda: noted.exists() and len(noted.read_text().split()) >= count, 40, "the hanging command")
    return noted.read_text().split()


def processes(rig):
    """What lives on the board, zombies included: number and name."""
    return rig.board.run(["ps", "-eo", "pid=,stat=,comm="], check=True).stdout


def assert_gone(rig, numbers):
    text = processes(rig)
    assert not {line.split()[0] for line in text.splitlines()} & set(numbers), text
    assert "sleep" not in text


def stop(rig, number=signal.SIGTERM):
    began = time.monotonic()
    rig.service.send_signal(number)
    assert rig.service.wait(STOP_SECONDS + 2) == 0
    return time.monotonic() - began


def test_stop_while_the_dhcp_client_hangs_ends_it_and_the_service(make_rig):
    rig = make_rig(before_start=hanging("dhcpcd"))
    numbers = await_hanging(rig)

    assert stop(rig) < STOP_SECONDS

    assert ended(DHCP_COMMAND, ", the service is stopping") in rig.text_since(0)
    assert_gone(rig, numbers)


def test_stop_while_the_start_up_hangs_ends_it_and_the_service(make_rig):
    rig = make_rig(address_mode="static", before_start=hanging("sync"))
    numbers = await_hanging(rig)

    assert stop(rig) < STOP_SECONDS

    text = rig.text_since(0)
    assert ended("sync", ", the service is stopping") in text
    assert "Command not run, the service is stopping:[sudo ifconfig" in text
    assert console.CEASED in text
    assert_gone(rig, numbers)


@pytest.mark.long(90)
def test_dhcp_client_that_hangs_is_ended_after_a_minute_and_the_cycle_goes_on(make_rig):
    rig = make_rig(before_start=hanging("dhcpcd"))
    numbers = await_hanging(rig)
    began = time.monotonic()

    rig.service.wait_for(STARTED + ended(DHCP_COMMAND, " after 60 s") + f"{int(signal.SIGTERM)}",
                         timeout=PATIENCE_SECONDS + 20)

    assert PATIENCE_SECONDS - 1 < time.monotonic() - began < PATIENCE_SECONDS + TO_THE_END + 2
    assert_gone(rig, numbers)
    rig.await_open()  # eth0 has had its address all the time
    rig.assert_good_transfer()


@pytest.mark.long(110)
def test_mount_of_a_stick_that_gets_nowhere_is_ended_and_the_link_is_watched(make_rig):
    rig, _ = start_with_stick(make_rig, before_start=hanging("mount"))
    numbers = await_hanging(rig)

    rig.service.wait_for("\nCommand ended after 60 s without progress:[sudo mount -t vfat /dev/sda1 -w "
                         "/data/home/sda1]", timeout=PATIENCE_SECONDS + 20)

    assert_gone(rig, numbers)
    rig.await_open()


@pytest.mark.long(130)
def test_mount_of_a_stick_that_gets_on_is_given_its_time(make_rig):
    slow = "#!/bin/sh\necho $$ >>/tmp/hanging\nsleep 75\n"
    rig, _ = start_with_stick(make_rig, before_start=lambda board: board.replace_command("mount", slow))
    await_hanging(rig, count=1)
    stat = rig.board.path(f"{BLOCK_DEVICES}/sda1/stat")
    for count in range(8):
        stat.write_text(f"{count} 0 {8 * count} 0 0 0 0 0 1 5 5\n")
        time.sleep(10)

    rig.service.wait_for("KVCFG Not found on usb drive!", timeout=SERVED_SECONDS)

    assert "Command ended" not in rig.text_since(0)


def test_stop_while_a_command_hangs_that_may_not_be_signalled_leaves_it_behind(make_rig):
    rig = make_rig(before_start=hanging("dhcpcd"), wrapper=("/usr/bin/python3", "-c", WITHOUT_SIGNALS))
    await_hanging(rig)

    assert stop(rig) < STOP_SECONDS

    assert f"\nCommand left behind, the service is stopping:[{DHCP_COMMAND}]-1" in rig.text_since(0)
