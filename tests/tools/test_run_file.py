"""What a run leaves behind."""

import json
import pathlib

import pytest

from quendal_tools.configuration.identity import Numbers
from quendal_tools.distribution import run_file
from quendal_tools.distribution.delivery import Attempt, Delivery, State
from quendal_tools.distribution.package import Package, PackagedFile
from quendal_tools.distribution.run import Run
from quendal_tools.distribution.run_file import RunFileError
from quendal_tools.distribution.selection import Target

BEGIN = 1_700_000_000.5


def example_run():
    good = Target("10.0.0.1", Numbers(1, 2, 3), "02:00:00:00:00:01")
    tried = [Attempt(BEGIN, 1.5, 0.0, 100, "lost"), Attempt(BEGIN + 2, 6.0, 0.5, 1100)]
    return Run(
        Package((PackagedFile(pathlib.Path("/a/b.ts"), "b.ts", 1100),), ("FileList.sys", b"b.ts\r\n")),
        [Delivery(good, State.STORED, 1100, tried),
         Delivery(Target("10.0.0.2"), State.FAILED, 7, [Attempt(BEGIN, 1.0, 0.0, 7, "no")], "no"),
         Delivery(Target(None, Numbers(1, 2, 4)), State.FAILED, 0, [], "it did not reply"),
         Delivery(Target("10.0.0.3"), State.INTERRUPTED, 0, [], "the run was interrupted")],
        16, BEGIN, 8.25, [(0.0, 0), (8.25, 1207)])


def test_a_run_is_read_as_it_was_written(tmp_path):
    path = tmp_path / "new/folder/run.json"
    run_file.write(example_run(), 50200, path)

    past = run_file.read(path)
    assert past.run == example_run()
    assert past.port == 50200
    assert [target.label for target in past.missing()] == ["10.0.0.2", "1/2/4", "10.0.0.3"]
    assert [file.name for file in path.parent.iterdir()] == ["run.json"]


def test_the_file_says_the_sum_to_whoever_reads_it_without_this_program(tmp_path):
    run_file.write(example_run(), 50200, tmp_path / "run.json")

    data = json.loads((tmp_path / "run.json").read_text())
    assert (data["stored"], data["displays_in_all"], data["begin_utc"]) == (1, 4, "2023-11-14T22:13:20Z")


@pytest.mark.parametrize(("change", "told"), [
    (lambda text: "", "is damaged"),
    (lambda text: "[]", "is not the file of a run"),
    (lambda text: '{"format": "other"}', "is not the file of a run"),
    (lambda text: text[:-20], "is damaged"),
    (lambda text: text.replace('"displays":', '"screens":'), "is damaged"),
    (lambda text: text.replace('"stored"', '"lost"'), "is damaged"),
    (lambda text: text.replace("1700000000.5", '"early"'), "is damaged"),
    (lambda text: text.replace('"numbers": [', '"numbers": [1, '), "is damaged"),
])
def test_what_is_no_run_is_told(tmp_path, change, told):
    path = tmp_path / "run.json"
    run_file.write(example_run(), 50200, path)
    path.write_text(change(path.read_text()))

    with pytest.raises(RunFileError, match=told):
        run_file.read(path)


def test_runs_of_one_second_do_not_overwrite_each_other_and_the_newest_is_found(tmp_path, monkeypatch):
    monkeypatch.setenv("XDG_STATE_HOME", str(tmp_path))
    with pytest.raises(RunFileError, match="there is no run"):
        run_file.newest()
    for _ in range(2):
        run_file.write(example_run(), 50200, run_file.default_path(BEGIN))
    first, second = sorted(run_file.default_folder().iterdir(), key=lambda path: len(path.name))

    assert second.name == first.name.replace(".json", "-2.json")
    assert run_file.newest() in (first, second)
