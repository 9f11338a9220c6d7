"""When the power goes, what must be found afterwards, and how the files are told apart."""

import itertools

import pytest

from quendal_tools.power_cuts import plan
from quendal_tools.power_cuts.payload import STATES, Payload, state
from quendal_tools.power_cuts.plan import Course, Cut

COURSE = Course(seconds=8.0, seconds_afterwards=5.0, writes=9, late_writes=4)
OLD, NEW = b"the old content", b"new content that is longer"


@pytest.mark.parametrize("found, expected", [
    (OLD, "old"), (NEW, "new"), (b"", "empty"), (None, "missing"), (NEW[:5], "short"), (OLD[:5], "short"),
    (NEW[:5] + OLD[5:], "mixed"), (bytes(len(NEW)), "mixed"), (NEW + b"\0", "mixed")])
def test_state_of_a_file(found, expected):
    assert state(OLD, NEW, found) == expected


def test_payload_has_files_of_many_sizes_and_no_content_twice():
    payload = Payload.make(300, 1)

    contents = [*payload.old.values(), *payload.new.values()]
    assert payload.old.keys() == payload.new.keys() and len(payload.old) == 300
    assert len(set(contents)) == len(contents)
    assert all(contents) and min(map(len, contents)) < 64 and max(map(len, contents)) > 1 << 20
    assert sum(name.endswith(".zip") for name in payload.new) == 30
    assert Payload.make(300, 1) == payload != Payload.make(300, 2)


def test_states_are_counted_over_the_files_of_the_transfer_alone():
    payload = Payload({"a": b"a1", "b": b"b1", "c": b"c1"}, {"a": b"a2", "b": b"b2", "c": b"c2"})

    assert payload.states({"a": b"a2", "b": b"", ".hidden": None}) == {"new": 1, "empty": 1, "missing": 1}


@pytest.mark.parametrize("size", [1, 2])
@pytest.mark.parametrize("completed", [False, True])
def test_what_each_mode_promises(completed, size):
    for found in itertools.combinations(STATES, size):
        states = dict.fromkeys(found, 3)
        all_new = found == ("new",)
        assert plan.holds("direct", completed, states) is (all_new if completed else None)
        assert plan.holds("staged", completed, states) is (all_new or (not completed and found == ("old",)))


def test_cut_by_the_clock_is_due_from_its_moment_on():
    cut = Cut(1, plan.MOMENT, 3.0)

    assert not cut.is_due(2.9, None)
    assert cut.is_due(3.0, None)
    assert cut.is_due(3.0, 1.0)


def test_cut_after_rxcomplete_waits_for_it():
    cut = Cut(1, plan.AFTERWARDS, 1.5)

    assert not cut.is_due(100.0, None)
    assert not cut.is_due(100.0, 1.4)
    assert cut.is_due(100.0, 1.5)


def test_cut_at_a_write_that_does_not_come_is_due_at_its_limit():
    cut = Cut(1, plan.WRITE, 5, limit=13.0)

    assert not cut.is_due(12.9, 4.0)
    assert cut.is_due(13.0, None)


def test_cuts_of_all_kinds_lie_within_the_course_and_are_the_same_for_the_same_seed():
    cuts = [plan.make_cut(number, plan.STAGED, COURSE, plan.chance_of(1, number)) for number in range(400)]

    def amounts(kind):
        return [cut.amount for cut in cuts if cut.kind == kind]

    assert cuts == [plan.make_cut(number, plan.STAGED, COURSE, plan.chance_of(1, number)) for number in range(400)]
    assert all(len(amounts(kind)) == 100 for kind in plan.KINDS[plan.STAGED])
    assert 0 <= min(amounts(plan.MOMENT)) < 1 and 12 < max(amounts(plan.MOMENT)) <= 13
    assert 0 <= min(amounts(plan.AFTERWARDS)) < 0.5 and 4.5 < max(amounts(plan.AFTERWARDS)) <= 5
    assert (min(amounts(plan.WRITE)), max(amounts(plan.WRITE))) == (1, 9)
    assert (min(amounts(plan.LATE_WRITE)), max(amounts(plan.LATE_WRITE))) == (1, 4)
    assert {cut.limit for cut in cuts if cut.counts_writes} == {13.0}


def test_cuts_of_a_direct_transfer_come_at_moments_and_after_rxcomplete_in_turn():
    cuts = [plan.make_cut(number, plan.DIRECT, COURSE, plan.chance_of(1, number)) for number in range(4)]

    assert [cut.kind for cut in cuts] == [plan.MOMENT, plan.AFTERWARDS] * 2


def test_transfer_without_writes_still_has_a_write_to_cut_at():
    course = Course(seconds=6.0, seconds_afterwards=5.0, writes=0, late_writes=0)

    cuts = [plan.make_cut(number, plan.STAGED, course, plan.chance_of(1, number)) for number in (1, 2)]
    assert [cut.amount for cut in cuts] == [1, 1]
