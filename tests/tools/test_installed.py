"""The transmitter as a package of its own: installed without a compiler, without the test rig, without this tree."""

import json
import pathlib
import re
import shutil
import subprocess
import zipfile

import pytest

from played_display import GROUP
from quendal_tools.configuration.places import version
from test_import_directions import FOR_A_PC, RIG

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools"
PIP = ["/usr/bin/python3", "-m", "pip", "--disable-pip-version-check", "--no-cache-dir"]


@pytest.fixture(scope="module", name="wheel")
def _wheel(tmp_path_factory):
    """Built from a copy, since building leaves things beside the sources."""
    place = tmp_path_factory.mktemp("wheel")
    shutil.copytree(TOOLS, place / "tools", ignore=shutil.ignore_patterns("__pycache__", "emulator"))
    done = subprocess.run([*PIP, "wheel", "--quiet", "--no-index", "--no-deps", "--no-build-isolation",
                           "--wheel-dir", place, place / "tools"], capture_output=True, text=True, check=False)
    assert done.returncode == 0, done.stderr
    return next(place.glob("*.whl"))


@pytest.fixture(scope="module", name="transmitter")
def _transmitter(wheel, tmp_path_factory):
    place = tmp_path_factory.mktemp("installed")
    subprocess.run([*PIP, "install", "--quiet", "--no-index", "--no-deps", "--target", place, wheel], check=True)

    def transmitter(*words):
        return subprocess.run([place / "bin/transmitter", *words], capture_output=True, text=True, check=False,
                              cwd=place, env={"PYTHONPATH": str(place), "XDG_STATE_HOME": str(place)})

    return transmitter


def test_the_package_is_for_every_system_and_has_the_services_version(wheel):
    assert wheel.name == f"quendal_tools-{version()}-py3-none-any.whl"


def test_the_package_has_what_a_pc_gets_and_nothing_of_the_rig(wheel):
    names = zipfile.ZipFile(wheel).namelist()
    rooms = {name.split("/")[1] for name in names if name.startswith("quendal_tools/") and name.count("/") > 1}

    assert rooms == FOR_A_PC | {"example"}
    assert not rooms & RIG
    assert {"quendal_tools/py.typed", "quendal_tools/distribution/report.html.j2",
            "quendal_tools/example/Quendal_L.ini"} <= set(names)


def test_the_command_runs_from_its_entry_point(transmitter):
    assert re.match("usage: transmitter ", transmitter("--help").stdout)
    done = transmitter("discover", "--seconds", "0.2", "--interface", "lo", "--address", GROUP)
    assert (done.returncode, done.stderr) == (1, "")


def test_the_report_has_its_template(transmitter, tmp_path):
    run = {"format": "quendal run 1", "begin": 1, "seconds": 1, "port": 1, "jobs": 1, "displays": [], "samples": [],
           "package": {"files": [], "list_file": None, "stop_marker": True}}
    (tmp_path / "run.json").write_text(json.dumps(run))

    done = transmitter("report", tmp_path / "run.json", "--html", tmp_path / "page.html")
    assert (done.returncode, done.stderr) == (0, "")
    assert "</html>" in (tmp_path / "page.html").read_text()
