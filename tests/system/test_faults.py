"""Single faults of the system: samples of the fault sweep (tests/faults/sweep), which knows each call there is."""

import pathlib
import re
import subprocess

import pytest
from fault_sweep import cases
from fault_sweep.sweep import Sweep
from quendal_tools.sandbox.pc import SandboxUnavailable

# As many as run side by side on two cores, in the time that one run takes.
FAULTS = 24
CANNOT_FAIL = {"clock_gettime", "exit", "sched_yield", "sigpending"}


@pytest.fixture(name="library")
def _library(quendal):
    library = quendal.with_name("libquendal_faults.so")
    if not library.exists():
        pytest.skip("the sanitizers' builds have no library that makes calls fail")
    return library


def bad_ones(quendal, library, memory, choose):
    """The chosen faults that the service does not survive, a line for each."""
    with Sweep(quendal, library, memory) as sweep:
        try:
            chosen = choose(sweep.count())
        except SandboxUnavailable as error:
            pytest.skip(str(error))
        assert chosen
        results = list(sweep.results(chosen))
    # On a busy machine threads may not come by in the order in which they did when the calls were counted.
    assert sum(result.reached for result in results) > 0.75 * len(results)
    return "\n".join(sorted(result.line() for result in results if result.wrong))


@pytest.mark.long(60)
def test_service_survives_a_single_fault_of_any_call(quendal, library):
    bad = bad_ones(quendal, library, False, lambda found: cases.sample(cases.short_form(found), FAULTS))
    assert not bad, bad


@pytest.mark.long(60)
def test_want_of_memory_ends_the_service_in_order_or_not_at_all(quendal, library):
    def choose(found):
        """Without the resolver's own memory, for want of which the C library aborts in one place: not ours to mend."""
        return cases.sample([case for case in found if "getaddrinfo" not in case.place], FAULTS)

    bad = bad_ones(quendal, library, True, choose)
    assert not bad, bad


@pytest.mark.long(60)
def test_thread_that_cannot_be_created_at_the_start_is_status_70_with_a_line(quendal, library):
    with Sweep(quendal, library) as sweep:
        try:
            found = [case for case in cases.only(sweep.count(), ["pthread_create"]) if case.in_start]
        except SandboxUnavailable as error:
            pytest.skip(str(error))
        results = [result for result in sweep.results(found) if result.reached]

    assert results
    assert {result.seen.status for result in results} == {70}
    assert all("annot start thread" in result.seen.text for result in results), [each.line() for each in results]


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
