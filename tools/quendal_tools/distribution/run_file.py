"""What a run leaves behind: a JSON file that says who got what, when, how fast, and who failed and why."""

import dataclasses
import datetime
import json
import os
import pathlib
import sys
from typing import Any

from quendal_tools.configuration.identity import Numbers
from quendal_tools.distribution.delivery import Attempt, Delivery, State
from quendal_tools.distribution.package import Package, PackagedFile
from quendal_tools.distribution.run import Run
from quendal_tools.distribution.selection import Target

FORMAT = "quendal run 1"


class RunFileError(Exception):
    """What is wrong with a file that should be that of a run."""


def default_folder() -> pathlib.Path:
    """Where the runs of this user are kept."""
    if sys.platform == "win32":
        base = pathlib.Path(os.environ.get("LOCALAPPDATA") or pathlib.Path.home() / "AppData/Local")
    else:
        base = pathlib.Path(os.environ.get("XDG_STATE_HOME") or pathlib.Path.home() / ".local/state")
    return base / "quendal" / "runs"


def default_path(begin: float) -> pathlib.Path:
    """A name that sorts by time; another run of the same moment gets a number."""
    stem = datetime.datetime.fromtimestamp(begin).strftime("run-%Y%m%d-%H%M%S")
    path, number = default_folder() / f"{stem}.json", 1
    while path.exists():
        number += 1
        path = path.with_name(f"{stem}-{number}.json")
    return path


def newest() -> pathlib.Path:
    """The newest run of this user."""
    runs = sorted(default_folder().glob("run-*.json"), key=lambda path: path.stat().st_mtime)
    if not runs:
        raise RunFileError(f"there is no run in {default_folder()} yet")
    return runs[-1]


def write(run: Run, port: int, path: pathlib.Path) -> None:
    """Leaves the whole file or none; another one of that name is replaced."""
    path.parent.mkdir(parents=True, exist_ok=True)
    fresh = path.with_name(path.name + ".new")
    fresh.write_text(json.dumps(_as_json(run, port), indent=1) + "\n", encoding="utf-8")
    fresh.replace(path)


@dataclasses.dataclass(frozen=True)
class PastRun:
    """A run as its file tells it, and the port that it was sent to."""

    run: Run
    port: int

    def missing(self) -> list[Target]:
        """Those who have not confirmed that they have it."""
        return [delivery.target for delivery in self.run.deliveries if delivery.state != State.STORED]


def read(path: pathlib.Path) -> PastRun:
    """RunFileError when that is no file of a run."""
    try:
        data = json.loads(path.read_text(encoding="utf-8"))
        if not isinstance(data, dict) or data.get("format") != FORMAT:
            raise RunFileError(f"{path} is not the file of a run")
        return PastRun(_run_of(data), int(data["port"]))
    except OSError as error:
        raise RunFileError(f"{path}: {(error.strerror or str(error)).lower()}") from None
    except (ValueError, KeyError, TypeError, AttributeError) as error:
        raise RunFileError(f"{path} is damaged: {error}") from None


def _as_json(run: Run, port: int) -> dict[str, Any]:
    package = run.package
    return {
        "format": FORMAT, "begin": run.begin, "begin_utc": _utc(run.begin), "seconds": round(run.seconds, 3),
        "stored": run.count(State.STORED), "displays_in_all": len(run.deliveries), "port": port, "jobs": run.jobs,
        "package": {
            "bytes": package.size, "stop_marker": package.marker,
            "list_file": None if package.list_file is None else {
                "name": package.list_file[0], "content": package.list_file[1].decode("latin-1")},
            "files": [{"name": file.name, "bytes": file.size, "path": str(file.path.absolute())}
                      for file in package.files]},
        "displays": [_delivery_as_json(delivery) for delivery in run.deliveries],
        "samples": [[round(seconds, 3), sent] for seconds, sent in run.samples]}


def _delivery_as_json(delivery: Delivery) -> dict[str, Any]:
    target = delivery.target
    return {
        "numbers": list(target.numbers) if target.numbers else None, "address": target.address,
        "hardware_address": target.hardware_address, "state": str(delivery.state), "reason": delivery.reason,
        "attempts": [{"begin": attempt.begin, "seconds": round(attempt.seconds, 3),
                      "sending": round(attempt.sending, 3), "bytes": attempt.sent, "reason": attempt.reason}
                     for attempt in delivery.attempts]}


def _run_of(data: dict[str, Any]) -> Run:
    package, list_file = data["package"], data["package"]["list_file"]
    files = tuple(PackagedFile(pathlib.Path(file["path"]), str(file["name"]), int(file["bytes"]))
                  for file in package["files"])
    listed = list_file and (str(list_file["name"]), list_file["content"].encode("latin-1"))
    return Run(
        Package(files, listed, bool(package["stop_marker"])), [_delivery_of(entry) for entry in data["displays"]],
        int(data["jobs"]), float(data["begin"]), float(data["seconds"]),
        [(float(seconds), int(sent)) for seconds, sent in data["samples"]])


def _delivery_of(data: dict[str, Any]) -> Delivery:
    numbers = data["numbers"] and Numbers(*map(int, data["numbers"]))
    attempts = [Attempt(float(entry["begin"]), float(entry["seconds"]), float(entry["sending"]), int(entry["bytes"]),
                        entry["reason"]) for entry in data["attempts"]]
    return Delivery(Target(data["address"], numbers, data["hardware_address"]), State(data["state"]),
                    attempts[-1].sent if attempts else 0, attempts, data["reason"])


def _utc(seconds: float) -> str:
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ")
