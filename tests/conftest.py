"""What the tests in Python share: the way to the tools, the choice of the binary, and what becomes of skips."""

import pathlib
import signal
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path[:0] = [str(ROOT / "tools"), str(ROOT / "tests/faults"), str(ROOT / "tests/endurance")]

# A shell has its background commands ignore Ctrl-C, and the programs under test would inherit that.
signal.signal(signal.SIGINT, signal.default_int_handler)


def pytest_addoption(parser):
    group = parser.getgroup("quendal")
    group.addoption("--quendal", type=pathlib.Path, default=ROOT / "build/release/Quendal_L",
                    help="the service's binary (default: the release build)")
    group.addoption("--no-skips", action="store_true", help="a test that would be skipped fails")


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item):
    report = (yield).get_result()
    if report.skipped and item.config.getoption("--no-skips") and not hasattr(report, "wasxfail"):
        report.outcome = "failed"
        report.longrepr = f"skipped, which is not allowed here: {report.longrepr[2]}"


@pytest.fixture(scope="session")
def quendal(request):
    binary = request.config.getoption("--quendal").resolve()
    if not binary.exists():
        pytest.fail(f"{binary} is missing: build it first, or name another with --quendal")
    return binary
