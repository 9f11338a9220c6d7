"""What a display would do with a stick, seen in a folder and in an image."""

import pytest
from rich.console import Console

from quendal_tools.commands.stick_report import tell
from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.configuration.identity import Numbers
from quendal_tools.stick import media
from quendal_tools.stick.forecast import foresee

OWN = Numbers(1, 2, 3)


def put(stick, tree):
    """Fills a stick with folders (ending in "/") and files."""
    for path, content in tree.items():
        if path.endswith("/"):
            stick.make_folder(path.rstrip("/"))
        else:
            stick.write(path, content)


def with_list(value, **more):
    names = {f"KVCFG/1.2.3/{name}": content for name, content in more.items()}
    text = f"[new_local_dist_task]\r\nfileList={value}\r\n".encode("latin-1")
    return {"KVCFG/": b"", "KVCFG/1.2.3/": b"", f"KVCFG/1.2.3/{LIST_NAME}": text, **names}


def steps(stick, own=OWN, **options):
    return foresee(stick, own, **options).steps


@pytest.mark.parametrize(("numbers", "own", "weight"), [
    (("1.2.3", "1.0.0", "0.0.0"), OWN, 111),
    (("1.0.3", "1.2.0"), OWN, 110),
    (("1.0.3", "1.2.0"), Numbers(1, 9, 3), 101),
])
def test_the_best_folder_is_named_with_its_weight(stick, numbers, own, weight):
    put(stick, {"KVCFG/": b"", **{f"KVCFG/{name}/": b"" for name in numbers}})

    forecast = foresee(stick, own)
    assert forecast.chosen and forecast.chosen.weight == weight
    assert forecast.steps == [f"chooses KVCFG/{forecast.chosen.name} (weight {weight})",
                              f"copies nothing: KVCFG/{forecast.chosen.name} has no {LIST_NAME}"]


def test_no_fitting_folder_copies_nothing(stick):
    put(stick, {"KVCFG/": b"", "KVCFG/4.5.6/": b"", "KVCFG/notes.txt": b"x"})

    assert steps(stick) == ["copies nothing: no folder in KVCFG fits it"]


def test_folders_that_fit_equally_well_are_warned_of(stick):
    put(stick, {"KVCFG/": b"", "KVCFG/1.2.3/": b"", "KVCFG/01.2.3/": b""})

    forecast = foresee(stick, OWN)
    first = stick.entries("KVCFG")[0][0]
    assert forecast.chosen and forecast.chosen.name == first
    assert "fit equally well" in forecast.warnings[0]


def test_an_image_keeps_the_order_of_its_directory(tmp_path):
    stick = media.new_image(tmp_path / "stick.img", 8)
    put(stick, {"KVCFG/": b"", "KVCFG/1.2.3/": b"", "KVCFG/01.2.3/": b""})

    chosen = foresee(stick, OWN).chosen
    assert chosen and chosen.name == "1.2.3"


def test_a_missing_file_fails_behind_the_files_before_it(stick):
    put(stick, with_list("a#0#FileList.sys;b#0#gone.zip;c#0#x", **{"FileList.sys": b"1", "x": b"2"}))

    forecast = foresee(stick, OWN)
    assert (forecast.copied, forecast.posted) == (["FileList.sys"], ["START2RX"])
    assert forecast.steps[-1] == ("reports a failure at file 2 of 3: gone.zip is not there; "
                                  "the rest is not copied, and RXCOMPLETE is never posted")


@pytest.mark.parametrize(("value", "reason"), [
    ("a#1#x", 'the second field of "a#1#x" is not 0'),
    (";", 'the entry "" has 1 fields instead of 3'),
    ("a#0#../x", 'the entry "a#0#../x" leads upwards'),
    ("a#0#x;b#0#sub", '"sub" is a folder'),
])
def test_a_bad_list_is_ignored_as_a_whole(stick, value, reason):
    put(stick, {**with_list(value, x=b"1"), "KVCFG/1.2.3/sub/": b""})

    forecast = foresee(stick, OWN)
    assert forecast.steps[-1] == f"ignores the whole list: {reason}"
    assert (forecast.copied, forecast.posted) == ([], [])


def test_a_list_without_its_key_is_a_failure(stick):
    text = b"\xef\xbb\xbf[new_local_dist_task]\nfileList=a#0#x"
    put(stick, {"KVCFG/": b"", "KVCFG/1.2.3/": b"", f"KVCFG/1.2.3/{LIST_NAME}": text})

    assert steps(stick)[-1] == (
        f"reports a failure: KVCFG/1.2.3/{LIST_NAME} has no key new_local_dist_task.fileList")


def test_names_on_a_stick_are_found_in_capital_and_small_letters(stick):
    tree = with_list("a#0#x.ZIP", **{"X.zip": b"1"})
    put(stick, {path.replace("KVCFG", "kvcfg"): content for path, content in tree.items()})

    assert foresee(stick, OWN).copied == ["x.ZIP"]


def test_another_name_of_the_list_is_looked_for(stick):
    put(stick, {"KVCFG/": b"", "KVCFG/1.2.3/": b"", "KVCFG/1.2.3/my.spt": b"new_local_dist_task.fileList=a#0#my.spt"})

    assert foresee(stick, OWN, "my.spt").copied == ["my.spt"]


def test_a_log_export_ends_in_a_restart_and_hides_the_rest(stick):
    put(stick, {**with_list("a#0#x", x=b"1"), "KVLOG/": b"", "KVSOURCE/": b""})

    forecast = foresee(stick, OWN)
    assert forecast.restarts
    assert (forecast.chosen, forecast.copied) == (None, [])
    assert forecast.warnings == ["KVCFG is not served: the log export releases the stick before",
                                 "KVSOURCE is not served: the log export releases the stick before"]


def test_raw_data_leaves_the_stick_in_place(stick):
    put(stick, {**with_list("a#0#x", x=b"1"), "KVLOG/": b""})

    forecast = foresee(stick, OWN, raw_data=True)
    assert forecast.steps[0] == "copies its raw data files to KVLOG"
    assert (forecast.copied, forecast.restarts) == (["x"], False)


@pytest.mark.parametrize(("folders", "raw_data", "restarts"), [
    (["KVLOG"], False, True), (["KVLOG"], True, True), (["KVBAK"], False, True), (["KVBAK", "KVCFG"], False, False),
    (["KVSOURCE"], False, False), (["KVCFG"], False, False), ([], False, False),
])
def test_when_the_display_restarts(stick, folders, raw_data, restarts):
    put(stick, {f"{name}/": b"" for name in folders})

    assert foresee(stick, OWN, raw_data=raw_data).restarts == restarts


def test_a_file_in_place_of_a_folder_asks_for_nothing(stick):
    put(stick, {"KVLOG": b"1", "KVCFG": b"2"})

    assert steps(stick) == ["does nothing: there is none of the folders that it serves"]


def test_names_on_a_stick_do_not_speak_to_the_terminal(tmp_path, capsys):
    stick = media.new_folder(tmp_path / "stick")
    put(stick, {"KVCFG/": b"", "KVCFG/1.2.3\x1b[31m/": b""})

    tell(Console(), OWN, foresee(stick, OWN))
    shown = capsys.readouterr().out
    assert "\x1b" not in shown
    assert "chooses KVCFG/1.2.3?[31m" in shown
