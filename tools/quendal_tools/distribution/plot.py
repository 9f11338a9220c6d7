"""A run as a plot: a line of all bytes over time, and a bar for each attempt of each display. Pure."""

from typing import Any

from quendal_tools.distribution.delivery import Delivery
from quendal_tools.distribution.run import Run

_WIDTH, _LEFT, _RIGHT, _TOP = 1000, 130, 20, 10
_RATE_HEIGHT, _GAP, _BELOW = 120, 24, 24
_BAR, _ROW, _FEW = 9, 14, 60
_MOST_TICKS = 12
_LEAST_BAR = 1.5
_POINTS = 200

Values = dict[str, Any]


def layout(run: Run) -> Values:
    """Where everything stands, for the template to draw."""
    span = max([run.seconds, 0.1, *(attempt.begin + attempt.seconds - run.begin
                                    for delivery in run.deliveries for attempt in delivery.attempts)])
    row = _ROW if len(run.deliveries) <= _FEW else _ROW // 2
    first = _TOP + _RATE_HEIGHT + _GAP
    bottom = first + row * len(run.deliveries)

    def x(seconds: float) -> float:
        return round(_LEFT + (_WIDTH - _LEFT - _RIGHT) * min(max(seconds / span, 0.0), 1.0), 1)

    rates = _rates(run)
    highest = max([rate for _, rate in rates], default=0.0)
    points = " ".join(f"{x(seconds)},{_rate_y(rate, highest)}" for seconds, rate in rates)
    return {
        "width": _WIDTH, "height": bottom + _BELOW, "left": _LEFT, "top": _TOP, "bottom": bottom,
        "bar_height": min(_BAR, row - 1), "rate_points": points,
        "rate_labels": [{"y": _TOP + 10, "text": f"{highest / 1e6:.1f} MB/s"}, {"y": _TOP + _RATE_HEIGHT, "text": "0"}],
        "ticks": [{"x": x(seconds), "text": f"{seconds:g} s"} for seconds in ticks(span)],
        "labels": [{"y": first + row * index + _BAR, "text": delivery.target.label}
                   for index, delivery in enumerate(run.deliveries) if row == _ROW or index % 2 == 0],
        "bars": [bar for index, delivery in enumerate(run.deliveries)
                 for bar in _bars(run, delivery, first + row * index, x)]}


def ticks(span: float) -> list[float]:
    """Round numbers of seconds from 0 to the span, a dozen at most."""
    step = 0.01
    while span / step > _MOST_TICKS:
        for factor in (2.0, 2.5, 2.0):
            step *= factor
            if span / step <= _MOST_TICKS:
                break
    return [round(number * step, 2) for number in range(int(span / step) + 1)]


def _bars(run: Run, delivery: Delivery, y: int, x: Any) -> list[Values]:
    bars = []
    for number, attempt in enumerate(delivery.attempts, 1):
        begin, end = attempt.begin - run.begin, attempt.begin - run.begin + attempt.seconds
        last = number == len(delivery.attempts)
        kind = str(delivery.state) if last else "lost"
        words = f"{delivery.target.label}: {begin:.1f} s to {end:.1f} s, {attempt.reason or kind}"
        bars.append({"kind": kind, "x": x(begin), "y": y, "width": round(max(_LEAST_BAR, x(end) - x(begin)), 1),
                     "text": words})
    return bars


def _rates(run: Run) -> list[tuple[float, float]]:
    """Bytes in a second over time, from as many samples as a line shows."""
    samples = run.samples[::max(1, len(run.samples) // _POINTS)]
    pairs = list(zip(samples, samples[1:]))
    return [(later[0], (later[1] - earlier[1]) / (later[0] - earlier[0]))
            for earlier, later in pairs if later[0] > earlier[0]]


def _rate_y(rate: float, highest: float) -> float:
    return round(_TOP + _RATE_HEIGHT * (1 - (max(rate, 0.0) / highest if highest else 0.0)), 1)
