"""A run as one HTML page that needs nothing beside itself: who got what, when, how fast, who failed and why."""

import datetime
import importlib.resources
from typing import Any

from quendal_tools.distribution import plot, texts
from quendal_tools.distribution.delivery import Delivery, State
from quendal_tools.distribution.run import Run


class ReportError(Exception):
    """Why there can be no report."""


def html(run: Run) -> str:
    try:
        import jinja2
    except ImportError:
        raise ReportError("a report needs Jinja2, Debian's python3-jinja2") from None
    source = importlib.resources.files(__package__).joinpath("report.html.j2").read_text(encoding="utf-8")
    # Names of files and displays are anybody's: everything is escaped, and a value that is missing is an error.
    environment = jinja2.Environment(autoescape=True, undefined=jinja2.StrictUndefined)
    everybody = rows(run)
    return environment.from_string(source).render(
        page=_page(run, everybody), plot=plot.layout(run), rows=everybody,
        files=[{"name": file.name, "size": file.size, "path": file.path} for file in run.package.files])


def rows(run: Run) -> list[dict[str, str]]:
    """A row for each display, as texts. Pure."""
    return [_row(run, delivery) for delivery in run.deliveries]


def _row(run: Run, delivery: Delivery) -> dict[str, str]:
    attempts, target = delivery.attempts, delivery.target
    row = {"display": target.label, "address": target.address or "", "hardware": target.hardware_address or "",
           "state": str(delivery.state), "tries": str(len(attempts)), "reason": _reasons(delivery),
           "begin": "", "after": "", "sending": "", "rate": ""}
    if attempts:
        last = attempts[-1]
        row["begin"] = local_time(attempts[0].begin)
        row["after"] = f"{last.begin + last.seconds - run.begin:.1f} s"
        if delivery.state == State.STORED:
            row["sending"] = f"{last.sending:.1f} s"
            row["rate"] = texts.rate(last.sent, last.sending)
    return row


def _reasons(delivery: Delivery) -> str:
    """Why the last attempt failed, or why the earlier ones of a display that has it did."""
    lost = [attempt.reason for attempt in delivery.attempts if attempt.reason]
    if delivery.state == State.STORED and lost:
        return "at first: " + "; ".join(dict.fromkeys(lost))
    return delivery.reason or ""


def _page(run: Run, everybody: list[dict[str, str]]) -> dict[str, Any]:
    when = datetime.datetime.fromtimestamp(run.begin).astimezone()
    return {
        "title": f"Distribution of {when:%Y-%m-%d %H:%M:%S %Z}",
        "sum": texts.sum_of(run.count(State.STORED), len(run.deliveries), run.count(State.FAILED)),
        "all_stored": run.all_stored,
        "detail": f"{texts.files(len(run.package.files))}, {texts.size(run.package.size)} for each display; "
                  f"{texts.size(run.sent)} sent in {run.seconds:.1f} s, {texts.rate(run.sent, run.seconds)}; "
                  f"{run.jobs} at once.",
        "failures": [row for row in everybody if row["state"] != State.STORED]}


def local_time(seconds: float) -> str:
    return datetime.datetime.fromtimestamp(seconds).strftime("%H:%M:%S")
