"""What the program answers on its command line, before it is a service."""

import pytest

from quendal_tools.board.layout import APPLICATION
from quendal_tools.configuration import places

HELP = """\
usage: Quendal_L OPTIONS
Quendal_L app/service

--daemon        Run application as a daemon.
--umask=mask    Set the daemon's umask (octal, e.g. 027).
--pidfile=path  Write the process ID of the application to given file.
-h, --help      display help information on command line arguments
-v, --version   display binary/assembly version number
"""


class Program:
    def __init__(self, board, binary):
        self.board = board
        self._binary = binary

    def __call__(self, *arguments):
        """Runs the program to its end: (exit status, standard output, error stream)."""
        service = self.board.start_service(self._binary, args=arguments)
        return service.wait(30), service.stdout_text(), service.stderr_text()


@pytest.fixture
def answer(make_board, quendal):
    return Program(make_board(), quendal)


@pytest.mark.parametrize("option", ["-h", "--help"])
def test_help_goes_to_standard_output_and_ends_with_23_without_banner(answer, option):
    assert answer(option) == (23, HELP, "")


@pytest.mark.parametrize("option", ["-v", "--version"])
def test_version_goes_to_the_error_stream_and_ends_with_23_without_banner(answer, option):
    assert answer(option) == (23, "", f"\nQuendal_L version:{places.version()}\n")


@pytest.mark.parametrize("option", ["-h", "-v"])
def test_help_and_version_start_nothing(answer, option):
    before = sorted(path.name for path in answer.board.path(APPLICATION).iterdir())

    answer(option)

    assert answer.board.commands() == []
    assert not answer.board.path("/tmp/Dest").exists()
    assert sorted(path.name for path in answer.board.path(APPLICATION).iterdir()) == before


def test_help_wins_over_what_follows_it(answer):
    assert answer("-h", "--nonsense") == (23, HELP, "")


@pytest.mark.parametrize("option, last_words", [
    ("--nonsense", "Unknown option specified: nonsense\n"),
    ("-x", "Unknown option specified: x\n"),
    ("--version=2", "Unexpected option argument: version=2\n"),
])
def test_unknown_option_ends_with_78_and_names_it(answer, option, last_words):
    assert answer(option) == (78, "", last_words)
