"""Waiting for what another process does."""

import time
from collections.abc import Callable
from typing import Any


def wait_until(condition: Callable[[], Any], timeout: float, what: str, interval: float = 0.01) -> Any:
    """Polls until condition() gives something true and returns that; TimeoutError naming what was awaited."""
    deadline = time.monotonic() + timeout
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() >= deadline:
            raise TimeoutError(f"{what} did not come within {timeout:g} s")
        time.sleep(interval)
