"""What a PC gets runs where there is nothing of Linux: without its modules, its calls and its socket options."""

import ast
import contextlib
import json
import subprocess
import sys

import pytest

from played_display import GROUP, LOOPBACK, reply_to
from played_receiver import PlayedReceiver, drops, first, stores
from python_tree import ROOT, python_files
from test_import_directions import FOR_A_PC, PACKAGE

MISSING = ("fcntl", "termios", "tty", "pty", "pwd", "grp", "resource", "syslog", "crypt", "curses", "readline",
           "sysv_ipc", "nis", "spwd", "ossaudiodev")
# The one place that asks for them, and does without.
ASKS = f"{PACKAGE}/protocol/systems.py"

# Takes away what Windows lacks, and then is the transmitter.
START = f"""
import errno, os, selectors, socket, sys
for name in {MISSING!r}:
    sys.modules[name] = None
for name in ("sendfile", "fork", "mkfifo", "geteuid", "getuid", "set_blocking"):
    if hasattr(os, name):
        delattr(os, name)
for name in ("TCP_INFO", "TCP_KEEPIDLE", "TCP_KEEPINTVL", "TCP_KEEPCNT", "AF_UNIX", "MSG_DONTWAIT"):
    if hasattr(socket, name):
        delattr(socket, name)
for name in ("EpollSelector", "PollSelector", "DefaultSelector"):
    delattr(selectors, name)
selectors.DefaultSelector = selectors.SelectSelector
sys.path.insert(0, {str(ROOT / "tools")!r})
from quendal_tools.commands.main import main
sys.exit(main())
"""


@pytest.fixture(name="elsewhere")
def _elsewhere(tmp_path):
    def elsewhere(*words, **options):
        environment = {"XDG_STATE_HOME": str(tmp_path), "COLUMNS": "120"}
        return subprocess.Popen([sys.executable, "-c", START, *map(str, words)], text=True, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, env=environment, **options)

    return elsewhere


def test_only_one_module_asks_for_what_some_systems_lack():
    asking = {name for name, source in python_files(ROOT) if name.startswith(tuple(f"{PACKAGE}/{r}/" for r in FOR_A_PC))
              for node in ast.walk(ast.parse(source)) if isinstance(node, ast.Import | ast.ImportFrom)
              for module in ([node.module] if isinstance(node, ast.ImportFrom) else [a.name for a in node.names])
              if module in MISSING}
    assert asking == {ASKS}


def test_files_are_sent_and_confirmed(elsewhere, tmp_path):
    (tmp_path / "clip.ts").write_bytes(bytes(3_000_000))
    with contextlib.closing(PlayedReceiver("127.0.0.21", first(1, drops, stores))) as receiver:
        process = elsewhere("send", "--to", "127.0.0.21", "--port", receiver.port, "--run-file", tmp_path / "run.json",
                            tmp_path / "clip.ts")
        output, errors = process.communicate(timeout=60)

    assert (process.returncode, errors) == (0, ""), output
    assert "1 of 1 display stored" in output
    assert len(receiver.received[1]) > 3_000_000
    assert json.loads((tmp_path / "run.json").read_text())["stored"] == 1


def test_displays_are_found_by_the_interfaces_address(elsewhere, display, port):
    network = ["--address", GROUP, "--port", port, "--interface", LOOPBACK]
    process = elsewhere("discover", "--json", "--seconds", "2", "--every", "9", *network)
    request = display.hear()
    display.send(request, reply_to(request))
    output, errors = process.communicate(timeout=60)

    assert (process.returncode, errors) == (0, "")
    assert 0 < json.loads(output)["milliseconds"] < 500


def test_an_interfaces_name_is_said_to_be_of_no_use(elsewhere):
    process = elsewhere("discover", "--interface", "lo")

    assert "interface lo: give its IPv4 address" in process.communicate(timeout=60)[1]
    assert process.returncode == 1


def test_a_stick_is_prepared_and_checked(elsewhere, tmp_path):
    (tmp_path / "clip.ts").write_bytes(b"c")
    for words in (["prepare", tmp_path / "stick", "--for", "1.2.0", tmp_path / "clip.ts"],
                  ["check", tmp_path / "stick", "1.2.3"]):
        process = elsewhere("stick", *words)
        _, errors = process.communicate(timeout=60)
        assert (process.returncode, errors) == (0, "")
    assert (tmp_path / "stick/KVCFG/1.2.0/clip.ts").read_bytes() == b"c"


@pytest.mark.parametrize("words", [["report"], ["watch", "--seconds", "0.2", "--interface", LOOPBACK], ["--help"]])
def test_the_other_commands_start(elsewhere, words):
    process = elsewhere(*words)
    _, errors = process.communicate(timeout=60)

    assert "Traceback" not in errors
    assert process.returncode == {"report": 2, "watch": 1, "--help": 0}[words[0]]


def test_the_blocking_blocks():
    done = subprocess.run([sys.executable, "-c", START.partition("sys.path")[0] + "import fcntl"], check=False,
                          capture_output=True, text=True)
    assert "fcntl" in done.stderr and done.returncode == 1
