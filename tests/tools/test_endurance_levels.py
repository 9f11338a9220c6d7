"""What counts as level in tests/endurance/mixed-load."""

import dataclasses
import os

import pytest

from endurance.levels import MEMORY_SLACK_KIB, Level, growth, measure

LEVEL = Level(memory_kib=10_000, descriptors=9, threads=7)


def levels_with(last_quarter, **changes):
    """A hundred looks, of which the last so many are changed."""
    return [LEVEL] * (100 - last_quarter) + [dataclasses.replace(LEVEL, **changes)] * last_quarter


@pytest.mark.parametrize("change, told", [
    ({"memory_kib": 10_001 + MEMORY_SLACK_KIB}, "memory has grown from 10000 to 10257 KiB"),
    ({"descriptors": 10}, "descriptors have grown from 9 to 10"),
    ({"threads": 8}, "threads have grown from 7 to 8")])
def test_what_stays_for_the_whole_last_quarter_has_grown(change, told):
    assert growth(levels_with(25, **change)) == [told]


@pytest.mark.parametrize("change", [
    {"memory_kib": 90_000}, {"descriptors": 90}, {"threads": 90}, {"memory_kib": 10_000 + MEMORY_SLACK_KIB}])
def test_what_comes_and_goes_or_is_slight_has_not(change):
    last = 25 if change == {"memory_kib": 10_000 + MEMORY_SLACK_KIB} else 24

    assert growth(levels_with(last, **change)) == []


def test_what_the_first_quarter_lacks_does_not_count():
    start = Level(memory_kib=1, descriptors=1, threads=1)

    assert growth([start] * 25 + [LEVEL] * 75) == []


def test_too_few_looks_are_no_verdict():
    with pytest.raises(ValueError):
        growth([LEVEL] * 3)


def test_a_process_is_measured():
    level = measure(os.getpid())
    with open(os.devnull):
        more = measure(os.getpid())

    assert level.memory_kib > 1000
    assert level.threads >= 1
    assert more.descriptors == level.descriptors + 1
