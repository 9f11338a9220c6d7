"""Short forms of the campaigns below tests/endurance."""

import pytest

from endurance import load
from endurance.lives import STORE_MODES, Lives

LIVES = 3


@pytest.fixture(autouse=True)
def _skip_without_sandbox(make_board):
    """make_board knows what to do on a machine that allows no sandbox."""
    make_board().close()


@pytest.mark.long(40)
@pytest.mark.parametrize("store_mode", STORE_MODES)
def test_service_that_is_stopped_at_any_moment_ends_well_and_leaves_nothing_behind(quendal, store_mode):
    with Lives(quendal, store_mode, longest=9, seed=7) as lives:
        lived = [lives.live(number) for number in range(LIVES)]

    assert [life.wrong for life in lived] == [[]] * LIVES


@pytest.mark.long(60)
def test_service_under_a_mixed_load_goes_on_serving(quendal):
    outcome = load.run(quendal, seconds=20, sample_every=1, seed=7, told=lambda level, counts: None)

    assert outcome.wrong == []
    assert min(outcome.counts[name] for name in ("transfers", "resets", "requests", "replies", "flaps")) > 0
