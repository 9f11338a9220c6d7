#!/usr/bin/python3
"""Tests of check_clocks.py: that it finds what it is there to find."""

import pathlib
import tempfile
import unittest

import check_clocks


def lines_with_readings(text):
    """The numbers of the lines of `text` that read the wall clock."""
    return [number for number, _ in check_clocks.readings(text)]


class CheckClocks(unittest.TestCase):
    def test_each_way_to_the_wall_clock_is_found(self):
        for line in [
            "const Poco::Timestamp before;",
            "Poco::Timestamp lastAttempt_;",
            "Poco::DateTime now{};",
            "return Poco::Timestamp() - start;",
            "auto* start = new Poco::Timestamp;",
            "start->update();",
            "const Poco::LocalDateTime local(time);",
            "const auto now = std::chrono::system_clock::now();",
            "last_write_time(folder, std::filesystem::file_time_type::clock::now());",
            "clock_gettime(CLOCK_REALTIME_COARSE, &time);",
            "gettimeofday(&time, nullptr);",
            "const std::time_t now = std::time(nullptr);",
            "time(&now);",
            "const bool isOld = shared::startTimestamp->isElapsed(5);",
        ]:
            with self.subTest(line=line):
                self.assertEqual(lines_with_readings("int first;\n" + line + "\n"), [2])

    def test_steady_clocks_and_given_times_are_taken(self):
        text = """
            extern Poco::DateTime cycleDateTime;
            const Poco::Timestamp last(0);
            Poco::Timestamp lastAttempt_{0};
            Poco::Timestamp now();
            std::optional<Poco::Timestamp> given;
            const Poco::DateTime time(2024, 2, 29);
            const auto start = std::chrono::steady_clock::now();
            clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
            const Poco::Clock watch;
            return watch.elapsed() + waitTime(0) + status.time(0);
        """
        self.assertEqual(lines_with_readings(text), [])

    def test_comments_and_literals_read_nothing(self):
        text = '// Poco::Timestamp()\n/* std::time(nullptr)\n */ call("system_clock");\nPoco::Timestamp now;\n'
        self.assertEqual(lines_with_readings(text), [4])

    def test_only_the_seam_and_its_test_may(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in [*check_clocks.ALLOWED, "src/video/task.cpp", "tests/unit/video/task_test.cpp"]:
                path = pathlib.Path(folder) / name
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text("Poco::Timestamp now;\n")
            wrong = list(check_clocks.wrong_readings(pathlib.Path(folder)))
        self.assertEqual([line.partition(": ")[0] for line in wrong],
                         ["src/video/task.cpp:1", "tests/unit/video/task_test.cpp:1"])


if __name__ == "__main__":
    unittest.main()
