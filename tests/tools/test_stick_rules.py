"""Which folder of a stick a display takes, and which lists it accepts."""

import pytest
from hypothesis import given, strategies

from quendal_tools.configuration.identity import Numbers
from quendal_tools.stick import rules
from quendal_tools.stick.rules import FileList, FormatError

OWN = Numbers(1, 2, 3)


def chosen(*names, own=OWN):
    best = rules.choose([rules.consider(name, own) for name in names])
    return best and (best.name, best.weight)


@pytest.mark.parametrize(("name", "weight"), [
    ("1.2.3", 111), ("1.2.0", 110), ("1.0.3", 101), ("1.0.0", 100), ("0.2.3", 11), ("0.2.0", 10), ("0.0.3", 1),
    ("0.0.0", 0), ("1..3", 101), ("..", 0), ("a.b.c", 0), ("65537.2.3", 111), (" 1.+2.3x", 111),
    ("2.2.3", None), ("1.2.4", None), ("-1.2.3", None), ("1.2", None), ("1.2.3.4", None), ("", None), ("1.2.3.", None),
])
def test_the_weight_of_a_folder(name, weight):
    assert rules.consider(name, OWN).weight == weight


@pytest.mark.parametrize(("names", "best"), [
    (["0.0.0", "1.0.0", "1.2.3"], ("1.2.3", 111)),
    (["1.0.3", "1.2.0"], ("1.2.0", 110)),
    (["01.2.3", "1.2.3"], ("01.2.3", 111)),
    (["1.2.3", "01.2.3"], ("1.2.3", 111)),
    (["4.5.6", "1.2", "readme.txt"], None),
    ([], None),
])
def test_the_heaviest_folder_is_chosen_and_of_equal_ones_the_first(names, best):
    assert chosen(*names) == best


def test_a_display_of_number_0_counts_a_wildcard_as_its_own_number():
    assert chosen("0.0.0", own=Numbers(0, 0, 0)) == ("0.0.0", 111)


@pytest.mark.parametrize(("text", "number"), [
    ("", 0), ("7", 7), ("007", 7), ("7x", 7), ("x7", 0), ("\t7", 7), ("\xa07", 0), ("+7", 7), ("-1", 65535), ("--1", 0),
    ("65535", 65535), ("65536", 0), ("1" + "0" * 30, 65535), ("-1" + "0" * 30, 0), ("٣", 0),
])
def test_a_number_is_read_like_strtol_and_cut_to_16_bits(text, number):
    assert rules.parse_number(text) == number


@pytest.mark.parametrize(("value", "trimmed"), [
    (";;a#0#x.zip;", "a#0#x.zip"), ("a;;b", "a;;b"), (";", ""), (";;;", ""), ("", ""), (" ;a", " ;a"),
])
def test_semicolons_are_trimmed_at_both_ends_only(value, trimmed):
    assert rules.trim_file_list(value) == trimmed


def test_a_list_gives_its_files_in_their_order():
    assert rules.parse_file_list("a#0#Layout1.zip;b#0#FileList.sys;#0#sub/x") == FileList(
        ("Layout1.zip", "FileList.sys", "sub/x"), "FileList.sys")


@pytest.mark.parametrize(("value", "announcement"), [
    ("a#0#x.zip", None),
    ("a#0#FLDnCare.sys;a#0#FileList.sys", "FileList.sys"),
    ("a#0#FileList.sys;a#0#FLDnCare.sys", "FLDnCare.sys"),
    ("a#0#FLDnCare.sys_FileList.sys", "FileList.sys"),
    ("a#0#FileList.sys;a#0#x.zip", "FileList.sys"),
    ("a#0#my_FLDnCare.sys.bak", "FLDnCare.sys"),
    ("a#0#filelist.sys", None),
])
def test_the_last_control_file_decides_how_the_files_are_announced(value, announcement):
    assert rules.parse_file_list(value).announcement == announcement


@pytest.mark.parametrize(("value", "reason"), [
    ("", 'the entry "" has 1 fields instead of 3'),
    ("x.zip", 'the entry "x.zip" has 1 fields instead of 3'),
    ("a#0#x;;a#0#y", 'the entry "" has 1 fields instead of 3'),
    ("a#0#x#", 'the entry "a#0#x#" has 4 fields instead of 3'),
    ("a#1#x.zip", 'the second field of "a#1#x.zip" is not 0'),
    ("a#00#x.zip", 'the second field of "a#00#x.zip" is not 0'),
    ("a# 0#x.zip", 'the second field of "a# 0#x.zip" is not 0'),
    ("a#0#", 'the entry "a#0#" names no file'),
    ("a#0#../x", 'the entry "a#0#../x" leads upwards'),
    ("a#0#sub/", 'the entry "a#0#sub/" names a folder'),
    ("a#0#sub/.", 'the entry "a#0#sub/." names a folder'),
    ("a#0#x\0", 'the entry "a#0#x\0" has a zero byte in its name'),
])
def test_one_bad_entry_spoils_the_whole_list(value, reason):
    for whole in (value, f"a#0#good;{value}"):
        with pytest.raises(FormatError) as refusal:
            rules.parse_file_list(whole)
        assert str(refusal.value) == reason


@given(strategies.text(alphabet="ab#0;./", max_size=30))
def test_every_name_that_is_accepted_can_be_copied(value):
    try:
        names = rules.parse_file_list(value).names
    except FormatError:
        return
    assert len(names) == value.count(";") + 1
    assert not any(rules.name_problem(name) for name in names)
