#!/usr/bin/python3
"""Tests of check_test_names.py: that it finds what it is there to find."""

import pathlib
import tempfile
import unittest

import check_test_names


def wrong_names(*files):
    """What is found in a made-up repository of these files."""
    with tempfile.TemporaryDirectory() as folder:
        repository = pathlib.Path(folder)
        for name in files:
            (repository / name).parent.mkdir(parents=True, exist_ok=True)
            (repository / name).touch()
        return list(check_test_names.wrong_names(repository))


class CheckTestNames(unittest.TestCase):
    def test_name_of_a_unit_is_taken_with_and_without_an_aspect(self):
        self.assertEqual(wrong_names("src/video/silence_rule.h", "src/video/stick/drive.cpp",
                                     "tests/unit/video/silence_rule_test.cpp",
                                     "tests/unit/video/silence_rule_wrap_test.cpp",
                                     "tests/unit/video/stick/drive_test.cpp",
                                     "tests/unit/video/scene.h"), [])

    def test_every_other_name_is_found(self):
        for name in ("rule_test.cpp", "silence_test.cpp", "silence_rules_test.cpp", "silence_rule_wrap/a_test.cpp"):
            with self.subTest(name=name):
                self.assertEqual(len(wrong_names("src/video/silence_rule.h", f"tests/unit/video/{name}")), 1)

    def test_unit_of_another_folder_does_not_count(self):
        self.assertEqual(wrong_names("src/base/retry.cpp", "tests/unit/video/retry_test.cpp"),
                         ["tests/unit/video/retry_test.cpp: src/video has no unit of that name"])


if __name__ == "__main__":
    unittest.main()
