"""What the fault sweep demands of the service."""

import dataclasses

import pytest
from fault_sweep import verdict
from fault_sweep.cases import Case
from fault_sweep.verdict import Seen

IN_SERVICE = Case("epoll_ctl", 1, "service", 1, "ENOMEM", False, "here")
IN_START = Case("read", 1, "start", 1, "EIO", True, "here")
OF_MEMORY = Case("malloc", 1, "service", 1, "ENOMEM", False, "here")
POST_INTERRUPTED = Case("semop", 1, "service", 1, "EINTR", False, "here")
SET_GONE = Case("semop", 1, "service", 1, "EIDRM", False, "here")
EVENTS = ["NETW_UP", "START2RX", "RXCOMPLETE", "START2RX", "RXCOMPLETE"]
USUAL = {"", "usual"}

GOOD = Seen(made=1, status=0, attempts=[True, True], transfers=2, replies=2, events=EVENTS, cpu=0.1, text="usual\n")


def wrong_with(case, **changes):
    return verdict.judge(case, dataclasses.replace(GOOD, **changes), USUAL)


@pytest.mark.parametrize("case", [None, IN_SERVICE, IN_START, OF_MEMORY])
def test_a_run_in_which_nothing_is_missing_is_good(case):
    assert wrong_with(case) == []
    assert wrong_with(case, events=EVENTS + ["NETW_UTIL_DN"]) == []


@pytest.mark.parametrize(("changes", "wrong"), [
    ({"transfers": 1}, "deaf: transfer 2 did not arrive in 60 s"),
    ({"replies": 0}, "deaf: alive request 1 got no reply in 60 s"),
    ({"cpu": 3.0}, "spins: 3.0 s of processor time"),
    ({"status": None}, "hangs: SIGTERM did not end it in 30 s"),
    ({"status": -6}, "stopped: killed by signal 6"),
    ({"status": 70}, "stopped: status 70"),
])
@pytest.mark.parametrize("case", [IN_SERVICE, IN_START, OF_MEMORY])
def test_deafness_unrest_and_a_bad_stop_are_wrong_whatever_failed(case, changes, wrong):
    assert wrong_with(case, **changes) == [wrong]


@pytest.mark.parametrize(("changes", "wrong"), [
    ({"left_running": ["/tmp/tmp1"]}, "left while running: /tmp/tmp1"),
    ({"left_behind": ["process sh"]}, "left behind: process sh"),
])
def test_what_is_left_is_wrong_but_for_memory(changes, wrong):
    assert wrong_with(IN_SERVICE, **changes) == [wrong]
    assert wrong_with(OF_MEMORY, **changes) == []


@pytest.mark.parametrize("status", [0, 1, 70, -6, -11])
def test_no_fault_ends_the_process_once_the_tasks_run(status):
    assert wrong_with(IN_SERVICE, ended_by_itself=True, status=status, text="a word\n")


@pytest.mark.parametrize("status", [1, 70, 78, 101])
def test_a_fault_in_the_start_may_end_it_with_a_word_and_a_documented_status(status):
    assert wrong_with(IN_START, ended_by_itself=True, status=status, text="usual\na word\n", transfers=0) == []
    assert wrong_with(IN_START, ended_by_itself=True, status=status, text="usual\n", transfers=0) == [
        "ended at the start without a word"]
    assert wrong_with(IN_START, ended_by_itself=True, status=status, text="a word", left_behind=["/tmp/tmp1"]) == [
        "left behind: /tmp/tmp1"]


@pytest.mark.parametrize(("status", "said"), [(0, "status 0"), (2, "status 2"), (-6, "killed by signal 6")])
def test_a_fault_in_the_start_may_not_end_it_otherwise(status, said):
    assert wrong_with(IN_START, ended_by_itself=True, status=status, text="a word") == [f"ended at the start: {said}"]


@pytest.mark.parametrize(("status", "text", "wrong"), [
    (70, "a word", []),
    (0, "a word", ["ended: status 0"]),
    (-6, "a word", ["ended: killed by signal 6"]),
    (70, "usual\n", ["ended without a word"]),
])
def test_want_of_memory_may_end_it_at_any_time_with_a_word_and_a_status(status, text, wrong):
    assert wrong_with(OF_MEMORY, ended_by_itself=True, status=status, text=text, transfers=0) == wrong


@pytest.mark.parametrize(("events", "wrong"), [
    (EVENTS[1:], ["event lost: NETW_UP came 0 times, not 1"]),
    (EVENTS[:-1], ["event lost: RXCOMPLETE came 1 times, not 2"]),
    (EVENTS + ["START2RX"], ["event lost: RXCOMPLETE came 2 times, not 3"]),
    (EVENTS + ["RXCOMPLETE"], []),
    (EVENTS + ["NETW_DN", "NETW_UP"], []),
])
def test_each_event_comes(events, wrong):
    assert wrong_with(IN_SERVICE, events=events) == wrong


@pytest.mark.parametrize("case", [None, POST_INTERRUPTED])
def test_a_post_that_is_made_again_is_made_once(case):
    assert wrong_with(case, events=EVENTS + ["RXCOMPLETE"]) == ["event repeated: RXCOMPLETE came 3 times, not 2"]
    assert wrong_with(case, events=EVENTS + ["NETW_UP"]) == ["event repeated: NETW_UP came 2 times, not 1"]
    assert wrong_with(case, events=EVENTS + ["NETW_DN", "NETW_UP"]) == []
    assert wrong_with(case, attempts=[False, True, True], events=EVENTS + ["RXCOMPLETE"]) == []


def test_after_a_failed_attempt_events_may_come_again_but_the_display_is_always_released():
    attempts = [False, True, True]
    assert wrong_with(IN_SERVICE, attempts=attempts, events=EVENTS + ["START2RX", "RXCOMPLETE"]) == []
    assert wrong_with(IN_SERVICE, attempts=attempts, events=EVENTS + ["RXCOMPLETE"]) == []
    assert wrong_with(IN_SERVICE, attempts=attempts, events=EVENTS + ["START2RX"]) == [
        "event lost: RXCOMPLETE came 2 times, not 3"]


def test_a_set_of_semaphores_that_is_gone_loses_its_event():
    assert wrong_with(SET_GONE, events=EVENTS[1:]) == []
