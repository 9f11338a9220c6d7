"""Programs that the service runs: ordinary signals, and nothing inherited that is not theirs."""

import signal

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import ADDRESS
from quendal_tools.protocol import packet

# Writes down what a program that the service runs finds when it starts.
WITNESS = """#!/bin/sh
{ grep Sig /proc/self/status; ls -l /proc/$$/fd; } >>/tmp/witness.new 2>&1
mv /tmp/witness.new /tmp/witness
"""
# Two real-time signals that no program uses by itself; the C library ignores them in what it spawns.
OF_THE_C_LIBRARY = 1 << 31 | 1 << 32
LOWEST_OF_THE_SHELL = 10
SLEEPER = "#!/bin/sh\necho $$ >/tmp/sleeper\nexec sleep 60\n"


@pytest.fixture
def witnessed(make_rig):
    """Makes the program named witness, and gives what it found once it has been run."""
    def run(name, **options):
        rig = make_rig(before_start=lambda board: board.replace_command(name, WITNESS), **options)
        return rig, lambda: wait_until(lambda: rig.board.path("/tmp/witness").exists() and rig.board.path(
            "/tmp/witness").read_text(), 20, "the witness")

    return run


def assert_ordinary(found):
    fields = dict(line.split(":\t") for line in found.splitlines() if line.startswith("Sig"))
    assert int(fields["SigBlk"], 16) == 0
    assert int(fields["SigIgn"], 16) & ~OF_THE_C_LIBRARY == 0
    open_files = dict(line.split()[-3::2] for line in found.splitlines() if " -> " in line)
    # The shell has its script open, above the numbers that a program would get.
    assert [number for number in open_files if int(number) < LOWEST_OF_THE_SHELL] == ["0", "1", "2"]
    assert not any("socket" in file or "event" in file for file in open_files.values())


def test_dhcp_client_starts_with_default_signals_and_no_descriptors_of_the_service(witnessed):
    _, found = witnessed("dhcpcd")

    assert_ordinary(found())


def test_command_run_while_connections_are_open_inherits_none_of_them(witnessed):
    rig, found = witnessed("sudo")
    rig.await_open()
    rig.board.path("/tmp/witness").unlink(missing_ok=True)

    with rig.connect(), rig.session() as connection:
        connection.sendall(packet.file_packet("reboot.cfg", b""))
        assert_ordinary(found())
        rig.display.wait_for("RXCOMPLETE")


def test_dhcp_client_can_be_stopped_by_sigterm_and_the_service_goes_on(make_rig):
    rig = make_rig(before_start=lambda board: board.replace_command("dhcpcd", SLEEPER))
    rig.service.wait_for(console.DHCP, timeout=20)
    noted = rig.board.path("/tmp/sleeper")
    process = wait_until(lambda: noted.exists() and noted.read_text().strip(), 10, "the client's start")

    rig.board.run(["kill", f"-{signal.SIGTERM}", process], check=True)

    # The wait status of the shell, which says that a signal has ended its program, and in a word, too.
    rig.service.wait_for(f"cmd rc codeTerminated\n{(128 + signal.SIGTERM) << 8}", timeout=10)
    rig.await_open()


def test_daemon_that_a_command_leaves_behind_does_not_hold_the_port(make_rig, quendal):
    left_behind = ("#!/bin/sh\nsetsid sleep 300 >/dev/null 2>&1 </dev/null &\n"
                   f"ip address replace {ADDRESS}/24 dev eth0\n")
    rig = make_rig(before_start=lambda board: board.replace_command("dhcpcd", left_behind))
    rig.await_open()
    with rig.connect():
        rig.board.cable(False)
        rig.service.wait_for(console.DATA_TASK_PAUSED, timeout=40)
        rig.board.cable(True)
    rig.service.terminate()
    assert rig.service.wait(20) == 0

    again = rig.board.start_service(quendal, env=rig.display.env)
    rig.services.append(again)

    again.wait_for(console.OPENING, timeout=40)
    again.wait_for(console.OPEN)
