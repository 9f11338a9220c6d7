"""A forecast for a stick on the screen."""

import pathlib
from collections.abc import Iterable, Sequence

from rich.console import Console
from rich.table import Table
from rich.text import Text

from quendal_tools.configuration.identity import Numbers
from quendal_tools.stick.forecast import Forecast
from quendal_tools.stick.prepare import Configuration
from quendal_tools.stick.rules import Candidate


def tell(console: Console, own: Numbers, forecast: Forecast) -> None:
    console.print(f"\n[bold]Display {own}[/bold] (group.column.unit)")
    if forecast.candidates:
        console.print(_table(forecast))
    for step in forecast.steps:
        console.print(Text("  - " + _printable(step)), soft_wrap=True)
    for warning in forecast.warnings:
        console.print(Text("  ! " + _printable(warning), style="yellow"), soft_wrap=True)


def tell_prepared(console: Console, path: pathlib.Path, configurations: Sequence[Configuration],
                  forecasts: Iterable[Forecast]) -> None:
    console.print(f"{path} is prepared.", markup=False, soft_wrap=True)
    if configurations:
        table = Table("folder in KVCFG", "group", "column", "unit", "files", "bytes")
        for column in table.columns[1:]:
            column.justify = "right"
        for configuration in configurations:
            size = sum(file.stat().st_size for file in configuration.files)
            table.add_row(str(configuration.numbers), *(str(number or "any") for number in configuration.numbers),
                          str(len(configuration.files)), str(size))
        console.print(table)
    for warning in dict.fromkeys(warning for forecast in forecasts for warning in forecast.warnings):
        console.print(Text("! " + _printable(warning), style="yellow"), soft_wrap=True)


def _table(forecast: Forecast) -> Table:
    table = Table("folder in KVCFG", "read as", "weight", "")
    table.columns[2].justify = "right"
    for candidate in forecast.candidates:
        verdict = _verdict(candidate)
        if candidate is forecast.chosen:
            verdict = Text("chosen", style="bold green")
        table.add_row(Text(_printable(candidate.name)), str(candidate.numbers or "-"),
                      "-" if candidate.weight is None else str(candidate.weight), verdict)
    return table


def _verdict(candidate: Candidate) -> Text:
    if candidate.numbers is None:
        return Text("ignored: not three numbers", style="dim")
    if candidate.weight is None:
        return Text("for other displays", style="dim")
    return Text("fits, but not best")


def _printable(text: str) -> str:
    """Names on a stick are anybody's: none of them may speak to the terminal."""
    return "".join(character if character.isprintable() else "?" for character in text)
