"""What is demanded of the service when one call fails, as a function of what was seen from outside."""

import collections
import dataclasses

from fault_sweep import errors

DEAF_SECONDS = 60
# What a transfer or a reply takes without a fault on a busy machine: the link's 3 s, the stop marker's 5 s and more.
OWN_SECONDS = 15
STOP_SECONDS = 30
CPU_SECONDS = 2.0
START_STATUSES = (1, 70, 78, 101)

_COUNTED_EVENTS = ("NETW_UP", "START2RX", "RXCOMPLETE")


@dataclasses.dataclass
class Seen:
    """One run, from outside.

    made             how often the fault was made
    ended_by_itself  the service was gone before it was asked to stop
    status           its exit status, minus the signal's number when killed; None: it had to be killed
    attempts         for each attempt at a transfer: did all of it arrive?
    transfers        how many transfers arrived, each within its time
    replies          how many alive requests got their reply, each within its time
    events           the display's wake-ups
    left_running     files and children that were there when all was quiet
    left_behind      files and processes that were there after the end
    cpu              seconds of processor time
    descriptors      how many it had open when all was quiet; is not judged, but worth a look in a report
    text             the error stream
    """

    made: int = 0
    ended_by_itself: bool = False
    status: int | None = None
    attempts: list = dataclasses.field(default_factory=list)
    transfers: int = 0
    replies: int = 0
    events: list = dataclasses.field(default_factory=list)
    left_running: list = dataclasses.field(default_factory=list)
    left_behind: list = dataclasses.field(default_factory=list)
    cpu: float = 0.0
    descriptors: int = 0
    text: str = ""


TRANSFERS = 2
REPLIES = 2


def judge(case, seen, usual_lines):
    """What is wrong, as a list of short texts; usual_lines are those of a run without a fault. case None: no fault."""
    if case is not None and case.is_about_memory:
        return _judge_memory(seen, usual_lines)
    if seen.ended_by_itself:
        return _judge_end(case is not None and case.in_start, seen, usual_lines)
    return [*_deafness(seen), *_unrest(seen), *_wrong_events(case, seen),
            *(f"left while running: {what}" for what in seen.left_running),
            *(f"left behind: {what}" for what in seen.left_behind)]


def _judge_end(may_end, seen, usual_lines):
    if not may_end:
        return [f"ended: {_status_text(seen.status)}"]
    wrong = []
    if seen.status not in START_STATUSES:
        wrong.append(f"ended at the start: {_status_text(seen.status)}")
    if not _says_something(seen.text, usual_lines):
        wrong.append("ended at the start without a word")
    return wrong + [f"left behind: {what}" for what in seen.left_behind]


def _judge_memory(seen, usual_lines):
    """It may end the process, with a line and a status."""
    if not seen.ended_by_itself:
        return [*_deafness(seen), *_unrest(seen)]
    wrong = []
    if seen.status is None or seen.status <= 0:
        wrong.append(f"ended: {_status_text(seen.status)}")
    if not _says_something(seen.text, usual_lines):
        wrong.append("ended without a word")
    return wrong


def _deafness(seen):
    if seen.transfers < TRANSFERS:
        yield f"deaf: transfer {seen.transfers + 1} did not arrive in {DEAF_SECONDS} s"
    if seen.replies < REPLIES:
        yield f"deaf: alive request {seen.replies + 1} got no reply in {DEAF_SECONDS} s"


def _unrest(seen):
    if seen.cpu > CPU_SECONDS:
        yield f"spins: {seen.cpu:.1f} s of processor time"
    if seen.status is None:
        yield f"hangs: SIGTERM did not end it in {STOP_SECONDS} s"
    elif seen.status != 0:
        yield f"stopped: {_status_text(seen.status)}"


def _wrong_events(case, seen):
    """Each wake-up comes, and exactly once when nothing but a post can have failed.

    A failed store, or a link that was lost meanwhile, is told to the display as well.
    """
    is_post = case is not None and case.call in ("semop", "semtimedop")
    if is_post and case.error == errors.SET_IS_GONE:
        return
    counts = collections.Counter(seen.events)
    whole = seen.attempts.count(True)
    wanted = {"NETW_UP": 1, "START2RX": whole, "RXCOMPLETE": max(whole, counts["START2RX"])}
    exactly = (is_post or case is None) and all(seen.attempts) and "NETW_DN" not in counts
    for name in _COUNTED_EVENTS:
        if counts[name] < wanted[name]:
            yield f"event lost: {name} came {counts[name]} times, not {wanted[name]}"
        elif exactly and counts[name] > wanted[name]:
            yield f"event repeated: {name} came {counts[name]} times, not {wanted[name]}"


def _says_something(text, usual_lines):
    return any(line.strip() and line not in usual_lines for line in text.split("\n"))


def _status_text(status):
    if status is None:
        return "only when killed"
    return f"killed by signal {-status}" if status < 0 else f"status {status}"
