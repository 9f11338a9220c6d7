"""The power goes, and the board starts again: what a transfer has left on a disk with a volatile write cache.

tools/emulator/power-cuts makes as many cuts as one likes; these are a handful.
"""

import pytest

from quendal_tools.emulator.board import EmulatorUnavailable
from quendal_tools.power_cuts import plan, report
from quendal_tools.power_cuts.payload import Payload
from quendal_tools.power_cuts.plan import Cut
from quendal_tools.power_cuts.rig import PowerCutRig

FILES = 100
SEED = 1
SECONDS_AFTERWARDS = 2


@pytest.fixture(name="make_power_cut_rig")
def _make_power_cut_rig(binary, tmp_path):
    def make(mode, **options):
        payload = Payload.make(FILES, SEED)
        try:
            return PowerCutRig(binary, mode, payload, tmp_path, seconds_afterwards=SECONDS_AFTERWARDS, **options)
        except EmulatorUnavailable as error:
            pytest.skip(str(error))

    return make


def assert_kept(rig, mode, cuts):
    outcomes = [rig.cut(cut, plan.chance_of(SEED, cut.number)) for cut in cuts]

    told = "\n".join(report.line(outcome, mode) for outcome in outcomes)
    assert all(outcome.verdict(mode) for outcome in outcomes), told


def test_cut_after_rxcomplete_leaves_every_file_new_and_whole(make_power_cut_rig):
    rig = make_power_cut_rig(plan.DIRECT)

    assert_kept(rig, plan.DIRECT, [Cut(number, plan.AFTERWARDS, seconds) for number, seconds in enumerate((0, 0.5))])


@pytest.mark.parametrize("end, kinds", [("stop", (plan.LATE_WRITE, plan.AFTERWARDS)), ("reboot", (plan.LATE_WRITE,))])
def test_cut_leaves_a_staged_transfer_all_old_or_all_new(make_power_cut_rig, end, kinds):
    rig = make_power_cut_rig(plan.STAGED, end=end)

    assert_kept(rig, plan.STAGED, [plan.make_cut(number, plan.STAGED, rig.course, plan.chance_of(SEED, number))
                                   for number, kind in enumerate(plan.KINDS[plan.STAGED]) if kind in kinds])
