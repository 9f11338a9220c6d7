"""A run on the screen and as a page, which a browser looks at."""

import html
import html.parser
import json
import pathlib
import re
import shutil
import subprocess
import sys

import pytest

from python_tree import TRANSMITTER
from quendal_tools.configuration.identity import Numbers
from quendal_tools.distribution import plot, report, run_file
from quendal_tools.distribution.delivery import Attempt, Delivery, State
from quendal_tools.distribution.package import Package, PackagedFile
from quendal_tools.distribution.run import Run
from quendal_tools.distribution.selection import Target

BROWSERS = ("chromium-headless-shell", "chromium")
BEGIN = 1_700_000_000.0
HOSTILE = "<script>document.title='owned'</script>"
NEVER_CLOSED = {"meta", "link", "br", "hr", "img", "input"}

# Runs in the browser, behind the page: what it has made of it.
_LOOK = """<script>
const box = element => element.getBoundingClientRect();
const plot = document.getElementById("plot"), outer = box(plot);
const inside = [...plot.querySelectorAll("rect, polyline, text")].every(part => {
  const inner = box(part);
  return inner.left >= outer.left - 1 && inner.right <= outer.right + 1
      && inner.top >= outer.top - 1 && inner.bottom <= outer.bottom + 1; });
document.title = JSON.stringify({
  bars: [...plot.querySelectorAll("rect")].filter(bar => box(bar).width > 0 && box(bar).height > 0).length,
  inside, wide: document.documentElement.scrollWidth > window.innerWidth,
  colours: [...new Set([...plot.querySelectorAll("rect")].map(bar => getComputedStyle(bar).fill))].length,
  rows: document.querySelectorAll("#displays tbody tr").length,
  failed: [...document.querySelectorAll("#displays td.failed")].length,
  requests: performance.getEntriesByType("resource").length,
  scripts: document.scripts.length, said: document.querySelector(".sum").innerText,
  visible: [...document.querySelectorAll("#displays td")].every(cell => box(cell).height > 0)});
</script>"""


def make_run(count):
    """Every tenth display fails, every tenth is tried again, one is not there and one was interrupted."""
    deliveries = [Delivery(Target(None, Numbers(9, 9, 9)), State.FAILED, reason="it did not reply")]
    for index in range(count - 2):
        begin = BEGIN + index / 10
        target = Target(f"10.0.0.{index}", Numbers(1, index // 10, index % 10), "02:00:00:00:00:01")
        lost = [Attempt(begin, 0.4, 0.0, 50, "lost " + HOSTILE)] if index % 10 in (3, 4) else []
        state = State.FAILED if index % 10 == 4 else State.STORED
        last = Attempt(begin + len(lost), 6.0, 0.5, 1000, "no room" if state == State.FAILED else None)
        deliveries.append(Delivery(target, state, 1000, [*lost, last], last.reason))
    deliveries.append(Delivery(Target("10.0.0.250"), State.INTERRUPTED, 0, [Attempt(BEGIN, 0.0)], "interrupted"))
    files = (PackagedFile(pathlib.Path("/a") / HOSTILE, HOSTILE, 1000),)
    return Run(Package(files, None), deliveries, 16, BEGIN, 12.5, [(0.0, 0), (0.25, 4000), (12.5, 50_000)])


class Page(html.parser.HTMLParser):
    """Notes what would be fetched, and tags that are not closed."""

    def __init__(self, text):
        super().__init__()
        self.fetched, self.open, self.wrong, self.tags = [], [], [], []
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.tags.append(tag)
        self.fetched += [value for name, value in attrs if name in ("src", "href", "srcset", "data", "action")]
        if tag not in NEVER_CLOSED:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        self.tags.append(tag)

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            self.wrong.append(tag)


@pytest.mark.parametrize("count", [2, 100, 240])
def test_a_page_is_well_formed_and_needs_nothing_beside_itself(count):
    text = report.html(make_run(count))
    page = Page(text)

    assert (page.fetched, page.open, page.wrong) == ([], [], [])
    assert "script" not in page.tags
    assert not re.search(r"url\(|@import|https?:", text)
    assert text.count('<td class="failed">') == sum(d.state == State.FAILED for d in make_run(count).deliveries)


def test_names_and_reasons_are_shown_and_never_carried_out():
    text = report.html(make_run(10))

    assert HOSTILE not in text
    assert text.count("&lt;script&gt;") >= 2


@pytest.mark.parametrize("run", [
    Run(Package((), None), [], 1, BEGIN),
    Run(Package((), None), [Delivery(Target("10.0.0.1"))], 1, BEGIN, 0.0, [(0, 0)]),
])
def test_a_run_of_nothing_has_a_page_too(run):
    assert Page(report.html(run)).open == []


@pytest.mark.parametrize("span", [0.1, 1, 3.3, 12, 13, 59, 100, 3599, 86400])
def test_the_plot_has_a_handful_of_round_times(span):
    times = plot.ticks(span)

    assert times[0] == 0 and times[-1] <= span
    assert 3 <= len(times) <= 13


@pytest.mark.parametrize("count", [3, 100])
def test_a_browser_shows_the_page_as_it_is_meant(tmp_path, count):
    browsers = [path for path in map(shutil.which, BROWSERS) if path]
    if not browsers:
        pytest.skip("there is no headless browser: chromium-headless-shell")
    run = make_run(count)
    page = tmp_path / "report.html"
    page.write_text(report.html(run).replace("</body>", _LOOK + "</body>"))

    done = subprocess.run(
        [browsers[0], "--headless", "--no-sandbox", "--disable-gpu", "--window-size=1280,900", "--dump-dom",
         f"--user-data-dir={tmp_path}/profile", page.as_uri()], capture_output=True, text=True, timeout=120, check=True)
    title = done.stdout.partition("<title>")[2].partition("</title>")[0]
    seen = json.loads(html.unescape(title))
    attempts = sum(len(delivery.attempts) for delivery in run.deliveries)
    assert seen == {
        "bars": attempts, "inside": True, "wide": False, "rows": count, "requests": 0, "scripts": 1, "visible": True,
        "failed": sum(delivery.state == State.FAILED for delivery in run.deliveries),
        "colours": len({state for d in run.deliveries for state in [d.state] * bool(d.attempts)})
        + any(len(d.attempts) > 1 for d in run.deliveries),
        "said": f"{run.count(State.STORED)} of {count} displays stored, {run.count(State.FAILED)} failed"}


@pytest.fixture(name="written")
def _written(tmp_path):
    path = tmp_path / "run.json"
    run_file.write(make_run(20), 50200, path)
    return path


@pytest.fixture(name="run_report")
def _run_report(tmp_path):
    def run_report(*words, **environment):
        environment = {"COLUMNS": "150", "XDG_STATE_HOME": str(tmp_path), "LC_ALL": "C.UTF-8", **environment}
        return subprocess.run([sys.executable, TRANSMITTER, "report", *words], capture_output=True, text=True,
                              check=False, env=environment, errors="replace")

    return run_report


def test_the_command_shows_a_table_and_ends_with_the_runs_status(run_report, written):
    done = run_report(written)

    assert (done.returncode, done.stderr) == (1, "")
    assert "16 of 20 displays stored, 3 failed: 1 file, 1000 bytes each, in 12.5 s" in done.stdout
    assert "no room" in done.stdout


@pytest.mark.parametrize("encoding", ["ascii", "cp1252", "cp437"])
def test_a_terminal_without_the_characters_gets_others(run_report, written, tmp_path, encoding):
    path = written.rename(tmp_path / "L\u00fcbeck-\u65e5\u672c.json")
    done = run_report(path, PYTHONIOENCODING=encoding)

    assert (done.returncode, done.stderr) == (1, "")


def test_the_command_makes_the_page(run_report, written, tmp_path):
    done = run_report(written, "--html", tmp_path / "page.html")

    assert (done.returncode, done.stderr) == (1, "")
    assert (tmp_path / "page.html").read_text() == report.html(make_run(20))


@pytest.mark.parametrize("words", [(), ("/nowhere.json",), ("/etc/hostname",)])
def test_without_a_run_the_command_says_so(run_report, words):
    done = run_report(*words)

    assert done.returncode == 2
    assert done.stderr.startswith("transmitter: ") and "Traceback" not in done.stderr


def test_a_page_that_cannot_be_written_is_told(run_report, written):
    done = run_report(written, "--html", "/nowhere/page.html")

    assert (done.returncode, done.stderr) == (2, "transmitter: /nowhere/page.html: No such file or directory\n")
