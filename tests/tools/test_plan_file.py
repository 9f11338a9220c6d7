"""A distribution that is written down."""

import pytest

from quendal_tools.distribution import plan
from quendal_tools.distribution.plan import PlanError

OPTIONS = {"jobs": int, "patience": float, "interface": str}
STEP = '[[distribution]]\nto = ["1/*/*"]\npackage = ["a.ts"]\n'


@pytest.fixture(name="read")
def _read(tmp_path):
    (tmp_path / "a.ts").write_bytes(b"a")
    (tmp_path / "lobby").mkdir()
    (tmp_path / "lobby/b.ts").write_bytes(b"b")

    def read(text):
        path = tmp_path / "plan.toml"
        path.write_text(text)
        return plan.read(path, OPTIONS)

    return read


def test_a_plan_says_who_gets_what_with_files_from_its_own_folder_on(read):
    found = read('[options]\njobs = 3\npatience = 5\n' + STEP +
                 '[[distribution]]\nname = "lobbies"\nto = ["10.0.0.1", "2/1/1"]\npackage = ["lobby", "a.ts"]\n'
                 'dont-care = true\n')

    first, second = found.steps
    assert found.options == {"jobs": 3, "patience": 5}
    assert (first.name, [file.name for file in first.package.files]) == ("distribution 1", ["a.ts"])
    assert (second.name, [file.name for file in second.package.files]) == ("lobbies", ["b.ts", "a.ts"])
    assert second.selection.addresses == ("10.0.0.1",)
    assert second.package.list_file[0] == "FLDnCare.sys"


@pytest.mark.parametrize(("text", "told"), [
    ("", "there is no [[distribution]]"),
    ("[[distribution", "plan.toml: "),
    ("jobs = 3\n" + STEP, 'there is no key "jobs"'),
    ("[options]\nspeed = 3\n" + STEP, 'there is no key "speed"'),
    ('[options]\njobs = "3"\n' + STEP, '"jobs" is not of the kind int'),
    ("[options]\njobs = true\n" + STEP, '"jobs" is not of the kind int'),
    ("options = 1\n" + STEP, '"options" is not of the kind dict'),
    ('distribution = [1]\n', "is no table"),
    ('[[distribution]]\npackage = ["a.ts"]\n', '"to" has to be a list of texts'),
    ('[[distribution]]\nto = "all"\npackage = ["a.ts"]\n', '"to" is not of the kind list'),
    ('[[distribution]]\nto = [1]\npackage = ["a.ts"]\n', '"to" has to be a list of texts'),
    ('[[distribution]]\nto = ["all"]\n', '"package" has to be a list of texts'),
    ('[[distribution]]\nto = ["1/2"]\npackage = ["a.ts"]\n', "[[distribution]] 1: not group/column/unit"),
    ('[[distribution]]\nto = ["all"]\npackage = ["missing.ts"]\n', "missing.ts: no such file"),
    (STEP + "dont_care = true\n", 'there is no key "dont_care"'),
])
def test_what_is_wrong_with_a_plan_is_told(read, text, told):
    with pytest.raises(PlanError) as raised:
        read(text)
    assert told in str(raised.value)


def test_a_plan_that_is_not_there_is_told(tmp_path):
    with pytest.raises(PlanError, match="no such file"):
        plan.read(tmp_path / "plan.toml", OPTIONS)
