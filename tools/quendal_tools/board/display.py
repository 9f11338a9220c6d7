"""The display application's side: seven System V semaphores that the service posts to wake it."""

import queue
import threading
import time

import sysv_ipc

EVENTS = (
    "START2RX", "START2RXDUNCARE", "RXCOMPLETE", "NETW_UP", "NETW_DN", "VIDEO_CONTEXT_CHANGE", "NETW_UTIL_DN")
VARIABLE_PREFIX = "TORVA_G_IPC_SEM_"

# When the display was woken, in seconds since 1970, and by which event.
Event = tuple[float, str]


class Display:
    """Owns the semaphores from the with statement's start to its end and waits for all of them."""

    def __init__(self) -> None:
        self._semaphores: dict[str, sysv_ipc.Semaphore] = {}
        self._threads: list[threading.Thread] = []
        self._events: queue.SimpleQueue[Event] = queue.SimpleQueue()

    def __enter__(self) -> "Display":
        for name in EVENTS:
            self._semaphores[name] = sysv_ipc.Semaphore(None, sysv_ipc.IPC_CREX, mode=0o600)
        for name in EVENTS:
            thread = threading.Thread(target=self._wait_for_posts, args=(name,))
            thread.start()
            self._threads.append(thread)
        return self

    def __exit__(self, *_: object) -> None:
        """Removes the semaphores, which also ends the threads that wait for them."""
        for semaphore in self._semaphores.values():
            semaphore.remove()
        for thread in self._threads:
            thread.join()

    def environment(self) -> dict[str, str]:
        """The variables that tell the service the semaphores' ids."""
        return {VARIABLE_PREFIX + name: str(semaphore.id) for name, semaphore in self._semaphores.items()}

    def next_event(self, timeout: float | None = None) -> Event | None:
        """The next wake-up as (time, event name); None when none comes in time."""
        try:
            return self._events.get(timeout=timeout)
        except queue.Empty:
            return None

    def _wait_for_posts(self, name: str) -> None:
        semaphore = self._semaphores[name]
        while True:
            try:
                semaphore.acquire()
            except sysv_ipc.ExistentialError:
                return
            except sysv_ipc.Error:  # interrupted: the kernel never restarts this wait by itself
                continue
            self._events.put((time.time(), name))
