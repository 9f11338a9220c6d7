"""A package for several real displays at once, by the command line that a person uses."""

import contextlib
import hashlib
import json
import re
import signal
import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.configuration.places import TOOLS
from quendal_tools.sandbox.fleet import Fleet
from quendal_tools.sandbox.pc import SandboxUnavailable

BOARDS = 4
ADDRESSES = [f"192.168.77.{10 + number}" for number in range(BOARDS)]
SIZE = 300_000


class Desk:
    """The PC of a few displays, and its transmitter."""

    def __init__(self, fleet, services, folder):
        self.boards, self.services, self._pc = fleet.boards, services, fleet.pc
        self.folder = folder
        self.run_file = folder / "run.json"

    def transmit(self, *words, timeout=120):
        return self._pc.run([TOOLS / "transmitter", *words], timeout=timeout, env={"XDG_STATE_HOME": str(self.folder)})

    def start(self, *words):
        return self._pc.popen([TOOLS / "transmitter", *words])

    def probe(self, address):
        """What a health check does: connects and closes."""
        self._pc.connect(DATA_PORT, address).close()

    def send(self, *words, **options):
        done = self.transmit("send", "--run-file", self.run_file, *words, **options)
        self.run = json.loads(self.run_file.read_text()) if self.run_file.exists() else None
        return done

    def states(self):
        return [display["state"] for display in self.run["displays"]]

    def holds(self, board, name):
        return self.boards[board].run(["sha256sum", f"{TARGET}/{name}"]).stdout.split()[:1]


@pytest.fixture(scope="module", name="desk")
def _desk(quendal, tmp_path_factory):
    folder = tmp_path_factory.mktemp("desk")
    try:
        with Fleet(BOARDS) as fleet:
            services = fleet.start_services(quendal)
            for service in services:
                service.wait_for(console.OPEN, timeout=30)
            time.sleep(7)  # a display replies from 6 s after its start on
            yield Desk(fleet, services, folder)
    except SandboxUnavailable as error:
        pytest.skip(str(error))


@pytest.fixture(name="package")
def _package(tmp_path):
    folder = tmp_path / "package"
    folder.mkdir()
    for number in range(3):
        # Other contents each time, so that nothing can be there from before.
        (folder / f"file{number}.bin").write_bytes(str(tmp_path).encode() + bytes(SIZE))
    return folder


def sums(package):
    return {path.name: [hashlib.sha256(path.read_bytes()).hexdigest()] for path in package.iterdir()}


pytestmark = [pytest.mark.xdist_group("desk"), pytest.mark.long(140)]


def test_everybody_who_is_meant_gets_it_and_nobody_else(desk, package):
    done = desk.send("--to", "1/1/1-3", package)

    assert (done.returncode, done.stderr) == (0, "")
    assert desk.states() == 3 * ["stored"]
    assert re.search(r"^3 of 3 displays stored: 3 files, ", done.stdout, re.M)
    for name, checksum in sums(package).items():
        assert [desk.holds(board, name) for board in range(BOARDS)] == [checksum, checksum, checksum, []]


def test_a_display_that_is_full_one_that_is_frozen_and_two_that_are_away_are_named_and_hold_nobody_up(desk, package):
    desk.boards[1].run(["mount", "-t", "tmpfs", "-o", "size=64k", "tmpfs", TARGET], check=True)
    desk.services[2].send_signal(signal.SIGSTOP)
    (package / "big.bin").write_bytes(bytes(20_000_000))
    try:
        done = desk.send("--to", ",".join(ADDRESSES), "--to", "192.168.77.99,9/9/9", "--jobs", "1", "--tries", "2",
                         "--patience", "7", package)
    finally:
        desk.services[2].send_signal(signal.SIGCONT)
        desk.boards[1].run(["umount", TARGET], check=True)

    assert done.returncode == 1
    assert desk.states() == ["stored", "failed", "failed", "stored", "failed", "failed"]
    reasons = [display["reason"] for display in desk.run["displays"]]
    assert "could not be stored" in reasons[1]
    assert "taken nothing for 7 s" in reasons[2]
    assert "no answer" in reasons[4]
    assert "did not reply" in reasons[5]
    assert all(reason in done.stdout for reason in reasons if reason)
    stored = [display for display in desk.run["displays"] if display["state"] == "stored"]
    assert all(len(display["attempts"]) == 1 for display in stored)

    again = desk.send("--again", desk.run_file)
    assert again.returncode == 1
    assert [display["address"] for display in desk.run["displays"]] == [*ADDRESSES[1:3], "192.168.77.99", None]
    assert desk.states() == ["stored", "stored", "failed", "failed"]
    assert desk.holds(1, "big.bin") == desk.holds(3, "big.bin") == sums(package)["big.bin"]


def test_a_display_that_was_away_and_is_back_is_found_again_and_the_others_are_left_alone(desk, package):
    desk.boards[3].cable(up=False)
    try:
        assert desk.send("--to", "1/1/1,1/1/4", "--tries", "1", package).returncode == 1
        assert desk.states() == ["stored", "failed"]
        assert desk.run["displays"][1]["address"] is None
    finally:
        mark = desk.services[3].mark()
        desk.boards[3].cable(up=True)
    # It may have noticed that its link was gone, or not yet.
    with contextlib.suppress(TimeoutError):
        desk.services[3].wait_for(console.OPEN, timeout=20, after=mark)
    marks = [service.mark() for service in desk.services]

    assert desk.send("--again", desk.run_file, "--seconds", "15").returncode == 0
    assert [(display["address"], display["state"]) for display in desk.run["displays"]] == [(ADDRESSES[3], "stored")]
    assert desk.holds(3, "file0.bin") == sums(package)["file0.bin"]
    assert "FileList.sys" not in desk.services[0].stderr_text()[marks[0]:]


def test_a_port_probe_in_the_middle_costs_a_second_try_and_no_more(desk, package):
    mark = desk.services[2].mark()
    process = desk.start("send", "--to", ADDRESSES[2], "--run-file", desk.run_file, package)
    desk.services[2].wait_for("fileAsciiName:kvXferStop.sys", timeout=20, after=mark)
    desk.probe(ADDRESSES[2])

    assert process.wait(60) == 0
    display, = json.loads(desk.run_file.read_text())["displays"]
    assert display["state"] == "stored"
    assert len(display["attempts"]) <= 2
    assert desk.holds(2, "file2.bin") == sums(package)["file2.bin"]


def test_a_display_is_restarted_at_the_end_of_a_transfer(desk, package):
    (package / "reboot.cfg").write_bytes(b"")

    assert desk.send("--to", ADDRESSES[1], package).returncode == 0
    assert desk.boards[1].commands()[-1][1] == "sudo systemctl reboot -i"
    assert desk.holds(1, "file2.bin") == sums(package)["file2.bin"]


def test_sends_in_a_row_all_arrive(desk, tmp_path):
    for number in range(8):
        (tmp_path / f"row{number}.bin").write_bytes(b"row" + bytes([number]))
        done = desk.send("--host", ADDRESSES[0], "--no-list-file", "--no-stop-marker", tmp_path / f"row{number}.bin")

        assert done.returncode == 0, done.stdout
        assert desk.holds(0, f"row{number}.bin")


def test_a_dry_run_connects_to_nobody(desk, package):
    marks = [service.mark() for service in desk.services]

    done = desk.send("--to", "1/1/1-2", "--dry-run", package)
    assert done.returncode == 0
    assert "3 files, 879.1 KiB to 2 displays; nothing was sent." in done.stdout
    assert all(console.connected("")[:15] not in service.stderr_text()[mark:]
               for service, mark in zip(desk.services, marks))


def test_a_plan_is_carried_out_step_by_step_and_the_command_line_has_the_last_word(desk, package, tmp_path):
    (tmp_path / "plan.toml").write_text(
        '[options]\ntries = 1\njobs = 2\n[[distribution]]\nname = "one"\nto = ["1/1/4"]\npackage = ["package"]\n'
        '[[distribution]]\nname = "two"\nto = ["1/1/3"]\npackage = ["package/file0.bin"]\ndont-care = true\n')
    desk.run_file.unlink(missing_ok=True)

    done = desk.send("--plan", tmp_path / "plan.toml", "--jobs", "3")
    assert done.returncode == 0, done.stdout + done.stderr
    runs = [json.loads(desk.run_file.with_name(f"run-{number}.json").read_text()) for number in (1, 2)]
    assert [(run["jobs"], run["stored"], len(run["package"]["files"])) for run in runs] == [(3, 1, 3), (3, 1, 1)]
    assert desk.holds(3, "file1.bin") == sums(package)["file1.bin"]
    assert desk.holds(2, "file0.bin") != sums(package)["file0.bin"]


@pytest.mark.parametrize(("words", "status", "told"), [
    (["--to", "1/2/3", "x"], 1, "transmitter: x: no such file or directory"),
    (["--to", "1/2", "/etc/hostname"], 1, "transmitter: not group/column/unit"),
    (["--to", "all"], 2, "one of FILE, --plan and --again"),
    (["--to", "all", "--host", "h", "x"], 2, "either --to or --host"),
    (["--jobs", "0", "x"], 2, "--jobs"),
    (["--plan", "/nowhere"], 1, "transmitter: /nowhere: no such file"),
    (["--plan", "/etc/hostname"], 1, "transmitter: /etc/hostname: "),
    (["--again", "/etc/hostname"], 1, "is damaged"),
    (["--to", "9/*/*", "--seconds", "0.3", "/etc/hostname"], 1, "no display that is meant has replied"),
    (["--host", "no.such.host.", "/etc/hostname"], 1, "there is no host no.such.host."),
    (["--to", "all", "--interface", "none0", "/etc/hostname"], 1, "interface none0"),
])
def test_what_cannot_be_done_is_said_in_a_line_and_nothing_is_sent(desk, words, status, told):
    done = desk.transmit("send", *words)

    assert done.returncode == status
    assert told in done.stderr
    assert "Traceback" not in done.stderr


def test_a_run_that_is_interrupted_leaves_its_file(desk, package, tmp_path):
    (package / "big.bin").write_bytes(bytes(20_000_000))
    path = tmp_path / "interrupted.json"
    desk.services[0].send_signal(signal.SIGSTOP)
    try:
        process = desk.start("send", "--to", ADDRESSES[0], "--run-file", path, package)
        time.sleep(2)
        process.send_signal(signal.SIGINT)
        assert process.wait(10) == 1
    finally:
        desk.services[0].send_signal(signal.SIGCONT)

    assert [display["state"] for display in json.loads(path.read_text())["displays"]] == ["interrupted"]
