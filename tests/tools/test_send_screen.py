"""What a run looks like on a terminal."""

import contextlib
import io
import os
import pathlib
import pty
import select
import signal
import subprocess
import sys
import time

import pytest
from rich.console import Console

from played_receiver import PlayedReceiver, stalls, stores
from python_tree import TRANSMITTER
from quendal_tools.commands.send_screen import RunScreen
from quendal_tools.configuration.identity import Numbers
from quendal_tools.distribution.delivery import Attempt, Delivery, State
from quendal_tools.distribution.package import Package, PackagedFile
from quendal_tools.distribution.run import Run
from quendal_tools.distribution.selection import Target

SIZE = 1_000_000


def run_of(*states):
    deliveries = []
    for index, state in enumerate(states):
        started = state not in (State.WAITING,)
        attempts = [Attempt(time.time() - 2, sending=1.0 if state == State.STORED else 0.0)] if started else []
        sent = {State.STORED: SIZE, State.SENDING: SIZE // 2}.get(state, 0)
        target = Target(f"10.0.0.{index}", Numbers(1, index // 10, index % 10))
        reason = "no room [red]left" if state == State.FAILED else None
        deliveries.append(Delivery(target, state, sent, attempts, reason))
    files = (PackagedFile(pathlib.Path("a.ts"), "a.ts", SIZE),)
    return Run(Package(files, None), deliveries, 16, time.time(), 2.0, [(0.0, 0), (2.0, 3_000_000)])


def drawn(run, width=110, height=24):
    output = io.StringIO()
    Console(file=output, width=width, height=height).print(RunScreen(run))
    return output.getvalue()


def test_each_display_has_a_line_with_what_it_is_doing():
    text = drawn(run_of(State.STORED, State.SENDING, State.FAILED, State.WAITING))
    lines = {line.split()[1]: line for line in text.splitlines() if "10.0.0." in line}

    assert "100" in lines["1/0/0"] and "1.0 MB/s" in lines["1/0/0"] and "stored" in lines["1/0/0"]
    assert " 50 " in lines["1/0/1"] and "sending" in lines["1/0/1"]
    assert "failed: no room [red]left" in lines["1/0/2"]
    assert "waiting" in lines["1/0/3"]
    # Stored and failed ones are over, half of one is on its way, one is to come: 2.5 of 4.
    assert "62 %" in text and "1.5 MB/s" in text and "0:06 to go" in text
    assert "1 of 4 displays stored, 1 failed" in text


@pytest.mark.parametrize("height", [12, 24, 60])
def test_a_screen_that_is_too_small_shows_what_is_going_on_and_counts_the_rest(height):
    states = [State.STORED] * 40 + [State.WAITING] * 55 + [State.SENDING] * 3 + [State.FAILED] * 2
    text = drawn(run_of(*states), height=height)

    assert len(text.splitlines()) < height
    assert "1/9/5" in text and "1/9/7" in text
    assert f"and {100 - (height - 8)} more: " in text
    assert "40 of 100 displays stored, 2 failed" in text


@pytest.mark.parametrize("states", [[State.WAITING], [State.STORED], [State.FAILED], list(State)])
def test_every_state_can_be_drawn(states):
    assert drawn(run_of(*states))


@contextlib.contextmanager
def on_a_terminal(*words, home):
    """The transmitter on a terminal of its own: its process, and a function that reads what came."""
    ours, theirs = pty.openpty()
    environment = {"TERM": "xterm", "COLUMNS": "110", "LINES": "30", "XDG_STATE_HOME": str(home), "LC_ALL": "C.UTF-8"}
    process = subprocess.Popen([sys.executable, TRANSMITTER, *map(str, words)], stdin=theirs, stdout=theirs,
                               stderr=theirs, env=environment)
    os.close(theirs)
    text = bytearray()

    def read(until, seconds=30):
        """What came up to these bytes, or to the end."""
        end = time.monotonic() + seconds
        while until not in text and time.monotonic() < end:
            if select.select([ours], [], [], 0.2)[0]:
                try:
                    text.extend(os.read(ours, 65536))
                except OSError:  # the other side has gone
                    break
        return bytes(text)

    try:
        yield process, read
    finally:
        process.kill()
        process.wait()
        os.close(ours)


def test_on_a_terminal_the_run_is_drawn_and_ends_with_a_sentence(tmp_path):
    (tmp_path / "clip.ts").write_bytes(bytes(SIZE))
    with contextlib.closing(PlayedReceiver("127.0.0.31", stores)) as receiver:
        with on_a_terminal("send", "--to", "127.0.0.31", "--port", receiver.port, tmp_path / "clip.ts",
                           home=tmp_path) as (process, read):
            text = read(b"The run is kept in").decode()
            assert process.wait(20) == 0

    assert "127.0.0.31" in text and "━" in text
    assert "1 of 1 display stored: 1 file, 976.6 KiB each" in text
    assert "Traceback" not in text


def test_ctrl_c_on_a_terminal_leaves_the_run_and_a_cursor(tmp_path):
    (tmp_path / "clip.ts").write_bytes(bytes(16 << 20))
    with contextlib.closing(PlayedReceiver("127.0.0.32", stalls)) as receiver:
        with on_a_terminal("send", "--to", "127.0.0.32", "--port", receiver.port, tmp_path / "clip.ts",
                           home=tmp_path) as (process, read):
            read(b"stalled")
            process.send_signal(signal.SIGINT)
            text = read(b"transmitter: interrupted").decode()
            assert process.wait(20) == 1

    assert "interrupted: the run was interrupted" in text
    assert text.rindex("\x1b[?25h") > text.rindex("\x1b[?25l")
    assert "Traceback" not in text
    assert len(list(tmp_path.glob("quendal/runs/*.json"))) == 1


def test_a_watch_on_a_terminal_is_a_screen_of_its_own(tmp_path):
    with on_a_terminal("watch", "--interface", "lo", "--address", "239.255.77.98", "--port", "50199",
                       home=tmp_path) as (process, read):
        read(b"0 displays.")
        time.sleep(1)  # the first picture is drawn before the screen is fully set up
        process.send_signal(signal.SIGINT)
        assert process.wait(20) == 1
        text = read(b"never comes", 1).decode()

    assert text.rindex("\x1b[?1049l") > text.rindex("\x1b[?1049h")
    assert "Traceback" not in text
