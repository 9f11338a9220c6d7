"""Which calls the fault sweep makes fail."""

import pytest
from fault_sweep import cases, errors
from fault_sweep.record import Site


class Places:
    """Names a site after its only frame."""

    def title(self, frames):
        return frames[0][0]


def site(call, number, counts, *, first=False, place="here"):
    return Site(number, call, counts, first, number, ((place, 0),))


def numbers_of(*counted):
    found = cases.all_cases([[site("semctl", 7, counts)] for counts in counted], Places())
    return [(case.phase, case.number) for case in found]


@pytest.mark.parametrize(("counted", "numbers"), [
    ([(0, 1, 0)], [("service", 1)]),
    ([(0, 5, 0)], [("service", 1), ("service", 5)]),
    ([(2, 0, 1)], [("start", 1), ("start", 2), ("stop", 1)]),
    ([(0, 5, 0), (0, 3, 0)], [("service", 1), ("service", 3)]),
    ([(0, 5, 0), (0, 0, 5)], []),
])
def test_first_and_last_call_of_each_phase_that_every_run_had(counted, numbers):
    assert numbers_of(*counted) == numbers


def test_site_that_only_one_run_had_is_left_out():
    assert cases.all_cases([[site("close", 1, (0, 1, 0))], []], Places()) == []


def test_every_error_of_the_call_and_none_for_a_call_that_cannot_fail():
    found = cases.all_cases([[site("epoll_ctl", 1, (0, 1, 0)), site("fcntl", 2, (0, 1, 0))]], Places())

    assert [(case.call, case.error) for case in found] == [("epoll_ctl", "ENOMEM"), ("epoll_ctl", "ENOSPC")]


@pytest.mark.parametrize(("phase", "first", "in_start"), [
    ("start", True, True), ("start", False, False), ("service", True, False), ("stop", True, False)])
def test_only_the_first_threads_start_may_end_the_service(phase, first, in_start):
    assert cases.Case("read", 1, phase, 1, "EIO", first, "here").in_start == in_start


def test_plan_is_what_the_library_reads():
    assert cases.plan(None) == "0 0 0 0 0"
    assert cases.plan(None, memory=True) == "0 0 0 0 1"
    assert cases.plan(cases.Case("read", 255, "stop", 3, "EIO", False, "here")) == "ff 2 3 5 0"
    assert cases.plan(cases.Case("malloc", 16, "service", 1, "ENOMEM", False, "here")) == "10 1 1 12 1"
    assert cases.plan(cases.Case("getaddrinfo", 1, "service", 1, "EAI_AGAIN", False, "here")) == "1 1 1 -3 0"


def many():
    sites = [("read", "b"), ("read", "a"), ("read", "c"), ("socket", "c")]
    counted = [site(call, number, (1, 2, 0), first=True, place=place)
               for number, (call, place) in enumerate(sites, start=1)]
    return cases.all_cases([counted], Places())


def test_short_form_is_the_first_and_last_place_of_each_call_and_phase_whatever_the_order():
    chosen = cases.short_form(many())

    assert sorted((case.call, case.phase, case.place, case.number, case.error) for case in chosen) == [
        ("read", "service", "a", 1, "EIO"), ("read", "service", "c", 1, "EIO"),
        ("read", "start", "a", 1, "EIO"), ("read", "start", "c", 1, "EIO"),
        ("socket", "service", "c", 1, "EMFILE"), ("socket", "start", "c", 1, "EMFILE")]
    assert set(cases.short_form(list(reversed(many())))) == set(chosen)


def test_sample_is_spread_over_all_and_does_not_depend_on_the_order():
    all_of_them = many()

    assert len(cases.sample(all_of_them, 4)) == 4
    assert {case.call for case in cases.sample(all_of_them, 4)} == {"read", "socket"}
    assert cases.sample(all_of_them, 5) == cases.sample(list(reversed(all_of_them)), 5)
    assert len(cases.sample(all_of_them, None)) == len(cases.sample(all_of_them, 10_000)) == len(all_of_them)


def test_every_error_of_the_table_has_a_number():
    assert all(errors.number_of(error) for call in errors.calls() for error in errors.errors_of(call))
    assert errors.SET_IS_GONE in errors.errors_of("semop")
