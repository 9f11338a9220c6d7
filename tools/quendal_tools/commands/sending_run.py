"""Carrying "send" out: what goes to whom, the run on the screen, and what is left of it."""

import argparse
import pathlib
import queue
import socket
import sys
from collections.abc import Iterator, Sequence

from rich.console import Console
from rich.table import Table
from rich.text import Text

from quendal_tools.commands import send_screen
from quendal_tools.configuration.example import ADDRESS, DATA_PORT
from quendal_tools.distribution import finding, package, plan, run_file, selection, texts
from quendal_tools.distribution.delivery import NOT_FOUND, Manner, State
from quendal_tools.distribution.run import Distribution, Run
from quendal_tools.distribution.selection import Selection, Target
from quendal_tools.protocol.discovery import Discovery

_ASK_EVERY = 2.0
_PLAN_OPTIONS = {
    "jobs": int, "tries": int, "patience": float, "port": int, "seconds": float, "interface": str, "address": str,
    "group-port": int, "server-port": int, "ttl": int}

Work = tuple[str, package.Package, list[Target]]


class SendError(Exception):
    """Why nothing can be sent, as a sentence."""


def run(given: argparse.Namespace) -> int:
    console = Console(highlight=False)
    _refuse_contradictions(given)
    try:
        work = _work(given, console)
        if given.dry_run:
            return _tell(console, work)
        return _send_all(console, given, work)
    except (SendError, package.PackageError, plan.PlanError, selection.SelectionError,
            run_file.RunFileError) as error:
        sys.exit("\n".join(f"transmitter: {texts.printable(line)}" for line in str(error).splitlines()))
    except OSError as error:
        sys.exit(f"transmitter: {error.strerror or error}")


def _refuse_contradictions(given: argparse.Namespace) -> None:
    sources = [name for name, value in (("--plan", given.plan), ("--again", given.again), ("FILE", given.files))
               if value]
    if len(sources) != 1:
        given.usage_error("one of FILE, --plan and --again has to say what is sent, and only one")
    if sources != ["FILE"] and (given.to or given.host):
        given.usage_error(f"{sources[0]} says itself who gets it")
    if given.to and given.host:
        given.usage_error("either --to or --host")


def _work(given: argparse.Namespace, console: Console) -> list[Work]:
    """Who gets what, in order."""
    if given.again:
        past = run_file.read(given.again)
        given.port = given.port or past.port
        if not past.missing():
            raise SendError(f"{given.again}: every display has confirmed that it has everything")
        missing = past.missing()
        found = _find(given, console, [selection.naming(missing)])
        return [("again", _unchanged(past.run.package), selection.refreshed(missing, found))]
    if given.plan:
        steps: Sequence[plan.Step] = _plan(given).steps
    else:
        framing = package.Framing(given.dont_care, given.list_file, given.no_list_file, given.no_stop_marker)
        whom = selection.parse(given.to) if given.to else Selection((_looked_up(given.host or ADDRESS),))
        steps = [plan.Step("", whom, package.gather(given.files, framing))]
    found = _find(given, console, [step.selection for step in steps])
    return [(step.name, step.package, _targets(step, found)) for step in steps]


def _plan(given: argparse.Namespace) -> plan.Plan:
    """The plan; its options are taken as if they stood first on the command line."""
    read = plan.read(given.plan, _PLAN_OPTIONS)
    words = [f"--{key}={value}" for key, value in read.options.items()]
    vars(given).update(vars(given.parse_again(words)))
    return read


def _targets(step: plan.Step, found: Sequence[Target]) -> list[Target]:
    targets = selection.resolve(step.selection, found)
    if not targets:
        raise SendError(f"{step.name + ': ' if step.name else ''}no display that is meant has replied")
    return targets


def _looked_up(host: str) -> str:
    try:
        return str(socket.getaddrinfo(host, None, socket.AF_INET)[0][4][0])
    except (OSError, UnicodeError):
        raise SendError(f"there is no host {host}") from None


def _unchanged(past: package.Package) -> package.Package:
    """The package of a run, if its files are still what they were."""
    for file in past.files:
        try:
            size = file.path.stat().st_size
        except OSError as error:
            raise SendError(f"{file.path}: {(error.strerror or str(error)).lower()}") from None
        if size != file.size:
            raise SendError(f"{file.path} is not the file of that run any more, it has {size} bytes")
    return past


def _find(given: argparse.Namespace, console: Console, selections: Sequence[Selection]) -> list[Target]:
    patterns = tuple(pattern for chosen in selections for pattern in chosen.patterns)
    if not patterns:
        return []
    with Discovery(given.address, given.group_port, interface=given.interface, server_port=given.server_port,
                   ttl=given.ttl) as discovery:
        with console.status(f"looking for displays, for {given.seconds:g} s at most"):
            return finding.find(discovery, Selection(patterns=patterns), given.seconds, _ASK_EVERY)


def _tell(console: Console, work: Sequence[Work]) -> int:
    """What would be done. Nobody is connected to: that would break a transfer that somebody else has under way."""
    missing = 0
    for name, sent, targets in work:
        table = Table("display", "address", "hardware address", "", title=name or None)
        for target in targets:
            missing += target.address is None
            table.add_row(target.label, target.address or "-", target.hardware_address or "-",
                          NOT_FOUND if target.address is None else "")
        console.print(table)
        for file in sent.files:
            console.print(Text(f"  {texts.printable(file.name)}  {texts.size(file.size)}"), soft_wrap=True)
        there = sum(target.address is not None for target in targets)
        console.print(f"{texts.files(len(sent.files))}, {texts.size(sent.size)} to {texts.displays(there)}; "
                      "nothing was sent.", soft_wrap=True)
    return 1 if missing else 0


def _send_all(console: Console, given: argparse.Namespace, work: Sequence[Work]) -> int:
    status = 0
    for number, (name, sent, targets) in enumerate(work, 1):
        if name:
            console.print(f"[bold]{name}[/bold]" if given.plan else "")
        path = given.run_file
        if path and len(work) > 1:
            path = path.with_name(f"{path.stem}-{number}{path.suffix}")
        status |= _send(console, given, sent, targets, path)
    return status


def _send(console: Console, given: argparse.Namespace, sent: package.Package, targets: Sequence[Target],
          path: pathlib.Path | None) -> int:
    changes: queue.SimpleQueue[send_screen.Change] = queue.SimpleQueue()
    port = given.port or DATA_PORT
    manner = Manner(port, given.tries, given.patience,
                    changed=lambda delivery: changes.put((delivery, delivery.state, delivery.reason)))
    distribution = Distribution(sent, targets, manner, given.jobs)
    try:
        if console.is_terminal and not given.plain:
            send_screen.show_live(console, distribution)
        else:
            send_screen.show_plain(lambda line: print(line, flush=True), distribution, changes)
    finally:
        _leave(console, distribution.run, port, path)
    return 0 if distribution.run.all_stored else 1


def _leave(console: Console, run: Run, port: int, path: pathlib.Path | None) -> None:
    """The run's file and its last words; the file comes first, for the words may find nobody who reads them."""
    path = path or run_file.default_path(run.begin)
    try:
        run_file.write(run, port, path)
        where = f"The run is kept in {path}"
    except OSError as error:
        where = f"The run is not kept: {path}: {error.strerror or error}"
    for line in (*_last_words(run), Text(where)):
        console.print(line, soft_wrap=True)


def _last_words(run: Run) -> Iterator[Text]:
    for delivery in run.deliveries:
        if delivery.state != State.STORED:
            tries = f" after {len(delivery.attempts)} tries" if len(delivery.attempts) > 1 else ""
            address = f" ({delivery.target.address})" if delivery.target.numbers and delivery.target.address else ""
            yield Text(f"{delivery.target.label}{address} {delivery.state}{tries}: "
                       f"{texts.printable(delivery.reason or '')}", style="red")
    bytes_sent = run.sent
    yield Text(f"{send_screen.sum_of(run)}: {texts.files(len(run.package.files))}, {texts.size(run.package.size)} "
               f"each, in {run.seconds:.1f} s; {texts.rate(bytes_sent, run.seconds)} on the line",
               style="green" if run.all_stored else "red")
