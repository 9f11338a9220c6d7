#!/usr/bin/python3
"""Tests of check_includes.py: that it finds what it is there to find."""

import pathlib
import tempfile
import unittest

import check_includes


def wrong_includes(files):
    """What is found in a made-up tree: {path: [what it includes]}."""
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder)
        for name, includes in files.items():
            (source / name).parent.mkdir(parents=True, exist_ok=True)
            (source / name).write_text("".join(f'#include "{include}"\n' for include in includes))
        return list(check_includes.wrong_includes(source))


class CheckIncludes(unittest.TestCase):
    def test_includes_that_go_down_are_taken(self):
        files = {
            "base/shared_state.h": ["base/flags.h"],
            "base/flags.h": [],
            "transfer/packet/lcd_packet.h": ["base/flags.h"],
            "ipc/table.h": ["base/shared_state.h"],
            "network/setup.h": ["base/flags.h"],
            "transfer/transfer_state.h": ["base/flags.h"],
            "multicast/task.cpp": ["transfer/packet/lcd_packet.h", "multicast/other.h"],
            "multicast/other.h": ["network/setup.h"],
            "maintenance/task.cpp": ["network/setup.h", "transfer/transfer_state.h"],
            "app/main.cpp": ["multicast/other.h", "network/setup.h"],
        }
        self.assertEqual(wrong_includes(files), [])

    def test_each_wrong_direction_is_found(self):
        for upper, lower in [
            ("app/quendal_app.h", "base/console.cpp"),
            ("app/quendal_app.h", "maintenance/task.cpp"),
            ("ipc/table.h", "base/shared_state.h"),
            ("network/setup.h", "ipc/table.cpp"),
            ("network/setup.h", "transfer/packet/codec.cpp"),
            ("transfer/task.h", "multicast/task.cpp"),
            ("transfer/task.h", "transfer/packet/lcd_packet.cpp"),
            ("maintenance/task.h", "network/setup.cpp"),
            ("maintenance/task.h", "maintenance/stick/drive.cpp"),
            ("video/task.h", "multicast/task.cpp"),
        ]:
            with self.subTest(lower=lower, upper=upper):
                self.assertEqual(wrong_includes({upper: [], lower: [upper]}), [f'{lower}: "{upper}" is not below it'])

    def test_state_is_read_by_those_it_is_meant_for(self):
        state = "video/video_state.h"
        self.assertEqual(wrong_includes({state: [], "video/task.cpp": [state]}), [])
        self.assertEqual(wrong_includes({state: [], "app/app.cpp": [state]}),
                         [f'app/app.cpp: "{state}" is not its state to read'])

    def test_state_that_nobody_has_placed_is_found(self):
        state = "ipc/ipc_state.h"
        self.assertEqual(wrong_includes({state: [], "app/app.cpp": [state]}),
                         [f'app/app.cpp: "{state}" is not its state to read'])

    def test_name_that_is_not_from_the_source_directory_is_found(self):
        files = {"network/a.cpp": ["b.h"], "network/b.h": []}
        self.assertEqual(wrong_includes(files), ['network/a.cpp: "b.h" is not named from the source directory'])

    def test_folder_that_nobody_has_placed_is_found(self):
        self.assertEqual(wrong_includes({"misc/a.h": []}), ["misc/a.h: its folder has no place in the table"])


if __name__ == "__main__":
    unittest.main()
