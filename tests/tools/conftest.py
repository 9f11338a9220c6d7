"""Tests of the tools' own rules: fast, without a sandbox.

    /usr/bin/python3 -m pytest tests/tools
"""

import contextlib
import socket
import subprocess
import sys

import hypothesis
import pytest

from played_display import GROUP, LOOPBACK, PlayedDisplay
from python_tree import TRANSMITTER
from quendal_tools.stick import media


# A busy machine is no reason to fail.
hypothesis.settings.register_profile("patient", deadline=None)
hypothesis.settings.load_profile("patient")


@pytest.fixture(name="files")
def _files(tmp_path):
    folder = tmp_path / "files"
    folder.mkdir()
    for name, content in (("Layout1.zip", b"layout"), ("clip.ts", bytes(range(256)) * 1000)):
        (folder / name).write_bytes(content)
    return folder / "Layout1.zip", folder / "clip.ts"


@pytest.fixture(name="stick", params=["folder", "image"])
def _stick(request, tmp_path):
    """An empty stick of either kind."""
    if request.param == "folder":
        return media.new_folder(tmp_path / "stick")
    return media.new_image(tmp_path / "stick.img", 8)


@pytest.fixture(name="port")
def _port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind((LOOPBACK, 0))
        return probe.getsockname()[1]


@pytest.fixture(name="display")
def _display(port):
    display = PlayedDisplay(port)
    with contextlib.closing(display.socket):
        yield display


@pytest.fixture(name="start_transmitter")
def _start_transmitter(port):
    """Starts a command of the transmitter that speaks to the played display's group."""
    started = []

    def start(command, *options):
        network = ["--interface", "lo", "--address", GROUP, "--port", str(port)]
        started.append(subprocess.Popen(
            [sys.executable, TRANSMITTER, command, *network, *options],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, env={"COLUMNS": "120", "LC_ALL": "C.UTF-8"}))
        return started[-1]

    yield start
    for process in started:
        process.kill()
        process.communicate()
