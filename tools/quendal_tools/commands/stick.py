"""The transmitter's command "stick": a technician's USB stick, prepared and checked."""

import argparse
import pathlib
import sys
from collections.abc import Sequence

from rich.console import Console

from quendal_tools.commands.stick_report import tell, tell_prepared
from quendal_tools.commands.subcommands import Subcommands
from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.configuration.identity import Numbers
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE
from quendal_tools.stick import media, prepare
from quendal_tools.stick.forecast import foresee
from quendal_tools.stick.media import StickError

_PREPARE = """\
Prepares a technician's stick in an empty folder, or as an image of a FAT drive when the name ends in ".img".

Each --for makes a folder for the displays with these numbers, 0 standing for any: --for 1.2.0 clip.ts is for
all units of column 2 in group 1. A display takes the folder that fits it best.
"""
_CHECK = """\
Says what a display would do with a stick: a folder, a mounted drive, or an image of a FAT drive.

Ends with status 0 when files would be copied to the display, 3 when none would (also when it is only asked for its
logs or for a backup), and 1 when that is no stick that a display serves.
"""
_NOTHING_COPIED = 3
_EXPORTS = {
    "logs": ("KVLOG", "the display's logs; the stick is released then, and nothing else on it is served"),
    "backup": ("KVBAK", "a copy of the display's whole application"),
    "source": ("KVSOURCE", "the packages that the display received"),
}


def _numbers(text: str) -> Numbers:
    parts = text.split(".")
    if len(parts) != 3 or not all(part.isascii() and part.isdecimal() and int(part) <= 0xFFFF for part in parts):
        raise argparse.ArgumentTypeError(f"not group.column.unit, such as 1.2.3: {text}")
    return Numbers(*map(int, parts))


def add_to(commands: Subcommands) -> None:
    stick = commands.add_parser("stick", help="prepare or check a technician's USB stick")
    actions = stick.add_subparsers(dest="action", required=True, metavar="ACTION")
    for command in (_add_prepare(actions), _add_check(actions)):
        command.add_argument("--list-name", default=LIST_NAME,
                             help="name of a folder's list, usbSourceListFile (%(default)s)")


def _add_prepare(actions: Subcommands) -> argparse.ArgumentParser:
    parser = actions.add_parser("prepare", help="prepare a folder or an image", description=_PREPARE,
                                formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("stick", type=pathlib.Path, metavar="STICK",
                        help="an empty folder, such as a stick's own, or a new NAME.img")
    parser.add_argument("--for", dest="configurations", action="append", nargs="+", default=[],
                        metavar=("G.C.U", "FILE"), help="display numbers and the files for them (may be repeated)")
    mode = parser.add_mutually_exclusive_group()
    mode.add_argument("--dont-care", dest="control_file", action="store_const", const=DONT_CARE_LIST_FILE,
                      default=LIST_FILE, help="files that the displays need not react to")
    mode.add_argument("--unannounced", dest="control_file", action="store_const", const=None,
                      help="tell the displays when all is copied, and not before")
    for option, (folder, what) in _EXPORTS.items():
        parser.add_argument(f"--{option}", dest="exports", action="append_const", const=folder,
                            help=f"make {folder}, for {what}")
    parser.add_argument("--mebibytes", type=int, default=512, help="size of an image (%(default)s)")
    parser.set_defaults(run=_run_prepare, exports=[])
    return parser


def _add_check(actions: Subcommands) -> argparse.ArgumentParser:
    parser = actions.add_parser("check", help="what a display would do with a stick", description=_CHECK,
                                formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("stick", type=pathlib.Path, metavar="STICK")
    parser.add_argument("display", type=_numbers, metavar="G.C.U", help="the display's group, column and unit number")
    parser.add_argument("--raw-data", action="store_true", help="the display is set to export raw data (LOGDATA=1)")
    parser.set_defaults(run=_run_check)
    return parser


def _run_prepare(given: argparse.Namespace) -> int:
    try:
        configurations = [
            prepare.Configuration(_numbers(words[0]), tuple(map(pathlib.Path, words[1:])), given.control_file)
            for words in given.configurations]
        prepare.check(configurations, given.list_name)
        stick = _write(given, configurations)
        forecasts = [foresee(stick, configuration.numbers, given.list_name)
                     for configuration in configurations]
    except (StickError, argparse.ArgumentTypeError, OSError) as error:
        sys.exit(f"transmitter: {error}")
    tell_prepared(Console(highlight=False), given.stick, configurations, forecasts)
    return 0


def _write(given: argparse.Namespace, configurations: Sequence[prepare.Configuration]) -> media.Stick:
    if given.stick.suffix != ".img":
        folder = media.new_folder(given.stick)
        prepare.write(folder, configurations, given.exports, given.list_name)
        return folder
    image = media.new_image(given.stick, given.mebibytes)
    try:
        prepare.write(image, configurations, given.exports, given.list_name)
    except BaseException:
        given.stick.unlink()
        raise
    return image


def _run_check(given: argparse.Namespace) -> int:
    try:
        stick = media.existing(given.stick)
        forecast = foresee(stick, given.display, given.list_name, given.raw_data)
    except (StickError, OSError) as error:
        sys.exit(f"transmitter: {error}")
    tell(Console(highlight=False), given.display, forecast)
    return 0 if forecast.copied else _NOTHING_COPIED
