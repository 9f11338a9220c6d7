"""One call fails in one run: the service goes through a scenario, and what becomes of it is judged."""
