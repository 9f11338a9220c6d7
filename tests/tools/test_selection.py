"""Which displays a selection means."""

import contextlib

import hypothesis
import pytest
from hypothesis import strategies

from quendal_tools.configuration.identity import Numbers
from quendal_tools.distribution.selection import SelectionError, Target, naming, parse, refreshed, resolve

FOUND = [Target(f"192.168.0.{number}", Numbers(*numbers)) for number, numbers in enumerate(
    [(1, 2, 3), (1, 10, 1), (2, 1, 1), (1, 2, 1), (1, 2, 1)], 20)]


def chosen(*texts, found=FOUND):
    return [(target.address, target.label) for target in resolve(parse(texts), found)]


@pytest.mark.parametrize(("texts", "addresses"), [
    (["all"], ["192.168.0.23", "192.168.0.24", "192.168.0.20", "192.168.0.21", "192.168.0.22"]),
    (["ALL"], ["192.168.0.23", "192.168.0.24", "192.168.0.20", "192.168.0.21", "192.168.0.22"]),
    (["1/2/3"], ["192.168.0.20"]),
    (["1/2/1"], ["192.168.0.23", "192.168.0.24"]),
    (["1/*/*"], ["192.168.0.23", "192.168.0.24", "192.168.0.20", "192.168.0.21"]),
    (["*/*/1"], ["192.168.0.23", "192.168.0.24", "192.168.0.21", "192.168.0.22"]),
    (["1/2-10/*"], ["192.168.0.23", "192.168.0.24", "192.168.0.20", "192.168.0.21"]),
    (["2/*/*", "1/2/3"], ["192.168.0.20", "192.168.0.22"]),
    (["2/*/*,1/2/3 , 192.168.0.22"], ["192.168.0.22", "192.168.0.20"]),
    (["10.0.0.1,10.0.0.1"], ["10.0.0.1"]),
    (["9/*/*"], []),
])
def test_a_selection_takes_these_displays_each_once(texts, addresses):
    assert [address for address, _ in chosen(*texts)] == addresses


def test_an_address_that_is_found_goes_by_its_numbers():
    assert chosen("192.168.0.20") == [("192.168.0.20", "1/2/3")]
    assert chosen("192.168.0.20", found=[]) == [("192.168.0.20", "192.168.0.20")]


def test_numbers_without_a_star_name_displays_that_have_to_be_there():
    assert chosen("1/2/1-3") == [
        ("192.168.0.23", "1/2/1"), ("192.168.0.24", "1/2/1"), ("192.168.0.20", "1/2/3"), (None, "1/2/2")]


@pytest.mark.parametrize(("texts", "complete"), [
    (["1/2/3"], True), (["1/2/1-3"], False), (["1/2/*"], False), (["all"], False), (["1/2/3,all"], False),
])
def test_a_search_may_end_early_only_when_everybody_is_named_and_there(texts, complete):
    assert parse(texts).complete(FOUND) == complete


@pytest.mark.parametrize("text", [
    "", "1/2", "1/2/3/4", "1/2/x", "1/2/-1", "1/2/65536", "1/3-2/1", "1/2/", "everybody", "300.1.1.1", "1.2.3",
    "all,,1/2/3", "1-200/1-200/1", "1/²/3", "fe80::1",
])
def test_what_selects_nothing_is_refused(text):
    with pytest.raises(SelectionError):
        parse([text])


def test_displays_of_an_earlier_run_are_sent_to_where_they_are_now():
    missing = [Target("10.0.0.1", Numbers(1, 1, 1), "02:00:00:00:00:01"), Target(None, Numbers(1, 1, 2)),
               Target("10.0.0.3", Numbers(1, 1, 3), "02:00:00:00:00:03"), Target("10.0.0.4"),
               Target(None, Numbers(1, 1, 5))]
    found = [Target("10.0.0.9", Numbers(1, 1, 1), "02:00:00:00:00:01"),
             Target("10.0.0.2", Numbers(1, 1, 2), "02:00:00:00:00:02"),
             Target("10.0.0.8", Numbers(1, 1, 3), "02:00:00:00:00:08")]

    assert [target.address for target in refreshed(missing, found)] == [
        "10.0.0.9", "10.0.0.2", "10.0.0.3", "10.0.0.4", None]


def test_displays_are_looked_for_by_the_numbers_that_they_had():
    selection = naming([Target("10.0.0.1", Numbers(1, 1, 1)), Target("10.0.0.4"), Target(None, Numbers(1, 1, 1))])

    assert [pattern.named() for pattern in selection.patterns] == [[Numbers(1, 1, 1)]]
    assert not naming([Target("10.0.0.4")]).needs_discovery


@hypothesis.given(strategies.text(alphabet="0123456789*/-,. al", max_size=30) | strategies.text())
def test_whatever_is_typed_selects_something_or_is_refused(text):
    with contextlib.suppress(SelectionError):
        selection = parse([text])
        assert selection.addresses or selection.patterns
        resolve(selection, FOUND)
