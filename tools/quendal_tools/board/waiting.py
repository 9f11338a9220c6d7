"""Waiting for what another process does."""

import time


def wait_until(condition, timeout, what, interval=0.01):
    """Polls until condition() gives something true and returns that; TimeoutError naming what was awaited."""
    deadline = time.monotonic() + timeout
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() >= deadline:
            raise TimeoutError(f"{what} did not come within {timeout:g} s")
        time.sleep(interval)
