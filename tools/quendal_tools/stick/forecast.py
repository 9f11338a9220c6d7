"""What a display will do with a stick, worked out from what is on it."""

import dataclasses
from collections.abc import Sequence

from quendal_tools.configuration import ini_text
from quendal_tools.configuration.example import LIST_NAME
from quendal_tools.configuration.identity import Numbers
from quendal_tools.protocol.control_files import DONT_CARE_LIST_FILE, LIST_FILE
from quendal_tools.stick import media, rules

_ANNOUNCEMENTS = {
    LIST_FILE: "posts START2RX and waits 6 s",
    DONT_CARE_LIST_FILE: "posts START2RXDUNCARE and waits 1 s",
    None: "posts nothing beforehand, since the list names no control file",
}

_NAMED_FILES = 10


@dataclasses.dataclass
class Forecast:
    """steps and warnings are sentences; chosen is a Candidate, copied the files that reach the display."""

    candidates: list[rules.Candidate] = dataclasses.field(default_factory=list)
    chosen: rules.Candidate | None = None
    copied: list[str] = dataclasses.field(default_factory=list)
    posted: list[str] = dataclasses.field(default_factory=list)
    steps: list[str] = dataclasses.field(default_factory=list)
    warnings: list[str] = dataclasses.field(default_factory=list)
    restarts: bool = False


def foresee(stick: media.Stick, own: Numbers, list_name: str = LIST_NAME, raw_data: bool = False) -> Forecast:
    """The Forecast for the display with these numbers; raw_data says that it is set to export raw data."""
    forecast = Forecast()
    found = {name: media.find(stick, name) for name in ("KVLOG", "KVBAK", "KVCFG", "KVSOURCE")}
    visible = {name: path for name, (path, is_folder) in found.items() if path and is_folder}
    if "KVLOG" in visible and not raw_data:
        _export_logs(forecast, set(visible))
        return forecast
    if "KVLOG" in visible:
        forecast.steps.append("copies its raw data files to KVLOG")
    if "KVBAK" in visible:
        forecast.steps.append("copies its whole application to KVBAK")
    if "KVSOURCE" in visible:
        forecast.warnings.append("KVSOURCE is not looked at: packages are read back after a log export only")
    if "KVCFG" in visible:
        _import(forecast, stick, visible["KVCFG"], own, list_name)
    elif visible.keys() & {"KVLOG", "KVBAK"}:
        forecast.steps.append("restarts, since there is no KVCFG")
        forecast.restarts = True
    else:
        forecast.steps.append("does nothing: there is none of the folders that it serves")
    return forecast


def _export_logs(forecast: Forecast, visible: set[str]) -> None:
    """The log export releases the stick; from then on the display sees the empty mount point on its own disk."""
    forecast.steps.append("packs its logs, moves them to KVLOG and releases the stick")
    forecast.steps.append("copies the packages that it received to KVSOURCE at the mount point, on its own disk")
    forecast.steps.append("asks for a restart, and once more because KVCFG is out of sight")
    forecast.restarts = True
    for name in sorted(visible - {"KVLOG"}):
        forecast.warnings.append(f"{name} is not served: the log export releases the stick before")


def _import(forecast: Forecast, stick: media.Stick, root: str, own: Numbers, list_name: str) -> None:
    forecast.candidates = [rules.consider(name, own) for name, _ in stick.entries(root)]
    best = forecast.chosen = rules.choose(forecast.candidates)
    if not best:
        forecast.steps.append("copies nothing: no folder in KVCFG fits it")
        return
    equal = [candidate.name for candidate in forecast.candidates if candidate.weight == best.weight]
    if len(equal) > 1:
        forecast.warnings.append(
            f"{', '.join(equal)} fit equally well; the directory's order decides, which copying may change")
    forecast.steps.append(f"chooses {root}/{best.name} (weight {best.weight})")
    _distribute(forecast, stick, f"{root}/{best.name}", list_name)


def _distribute(forecast: Forecast, stick: media.Stick, folder: str, list_name: str) -> None:
    path, is_folder = media.find(stick, f"{folder}/{list_name}")
    if path is None or is_folder:
        forecast.steps.append(f"copies nothing: {folder} has no {list_name}")
        return
    value = ini_text.read(stick.read(path).decode("latin-1")).get(rules.LIST_KEY.lower())
    if value is None:
        forecast.steps.append(f"reports a failure: {path} has no key {rules.LIST_KEY}")
        return
    if "${" in value:
        forecast.warnings.append('"${" in the list may stand for another value; do without it')
    try:
        files = rules.parse_file_list(rules.trim_file_list(value))
        _refuse_folders(stick, folder, files)
    except rules.FormatError as error:
        forecast.steps.append(f"ignores the whole list: {error}")
        return
    _copy(forecast, stick, folder, files)


def _refuse_folders(stick: media.Stick, folder: str, files: rules.FileList) -> None:
    for name in files.names:
        if media.find(stick, f"{folder}/{name}")[1]:
            raise rules.FormatError(f'"{name}" is a folder')


def _copy(forecast: Forecast, stick: media.Stick, folder: str, files: rules.FileList) -> None:
    forecast.steps.append(_ANNOUNCEMENTS[files.announcement])
    if files.announcement:
        forecast.posted.append("START2RX" if files.announcement == LIST_FILE else "START2RXDUNCARE")
    for number, name in enumerate(files.names, 1):
        if media.find(stick, f"{folder}/{name}")[0] is None:
            forecast.steps.append(f"reports a failure at file {number} of {len(files.names)}: {name} is not there; "
                                  "the rest is not copied, and RXCOMPLETE is never posted")
            return
        if "/" in name:
            forecast.warnings.append(f"{name} needs that folder in the display's target directory, too")
        forecast.copied.append(name)
    forecast.steps.append(f"copies {_some(files.names)} to its target directory")
    forecast.steps.append("leaves the stop marker there, waits 6 s and posts RXCOMPLETE")
    forecast.posted.append("RXCOMPLETE")


def _some(names: Sequence[str]) -> str:
    listed = ", ".join(names[:_NAMED_FILES])
    more = len(names) - _NAMED_FILES
    return f"{listed} and {more} more" if more > 0 else listed
