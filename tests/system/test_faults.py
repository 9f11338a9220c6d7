"""The fault sweep (tests/faults/sweep) knows each call that the service makes."""

import pathlib
import re
import subprocess

import pytest

CANNOT_FAIL = {"clock_gettime", "exit", "sched_yield", "sigpending"}


@pytest.fixture(name="library")
def _library(quendal):
    library = quendal.with_name("libquendal_faults.so")
    if not library.exists():
        pytest.skip("the sanitizers' builds have no library that makes calls fail")
    return library


def names_of(binary, *options):
    """The symbols that a binary needs from others or has for them."""
    listed = subprocess.run(["nm", "--dynamic", *options, binary], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1].partition("@")[0] for line in listed.splitlines()}


def test_every_system_call_that_the_service_makes_itself_can_be_made_to_fail(quendal, library):
    """Its libraries make many that it never comes to; what those are is not decided here."""
    header = next(pathlib.Path("/usr/include").glob("*/bits/syscall.h"))
    known = set(re.findall(r"define SYS_(\w+)", header.read_text()))
    made = {name for name in names_of(quendal, "--undefined-only") if name.removesuffix("64") in known}

    assert made - names_of(library, "--defined-only") - CANNOT_FAIL == set()
