"""A real shell completes the command line."""

import subprocess

import pytest

from python_tree import TRANSMITTER


@pytest.fixture(scope="module", name="script")
def _script():
    return subprocess.run([TRANSMITTER, "completion", "bash"], capture_output=True, text=True, check=True).stdout


@pytest.mark.parametrize(("words", "completed"), [
    (["se"], ["send"]),
    ([""], ["-h", "--help", "send", "report", "discover", "watch", "stick", "completion"]),
    (["send", "--dr"], ["--dry-run"]),
    (["send", "--to", "all", "--no-"], ["--no-list-file", "--no-stop-marker"]),
    (["stick", "p"], ["prepare"]),
    (["stick", "check", "--raw"], ["--raw-data"]),
    (["completion", ""], ["-h", "--help", "bash"]),
    (["send", "cl"], ["clip one.ts", "clip.ts"]),
    (["report", "--html", "pa"], ["page.html"]),
    (["nonsense", "--js"], []),
])
def test_words_are_completed(script, tmp_path, words, completed):
    for name in ("clip.ts", "clip one.ts", "page.html"):
        (tmp_path / name).touch()
    typed = " ".join(f"'{word}'" for word in ["transmitter", *words])

    done = subprocess.run(
        ["bash", "--norc", "-c", f'{script}\nCOMP_WORDS=({typed})\nCOMP_CWORD={len(words)}\n_transmitter\n'
         '((${#COMPREPLY[@]})) && printf "%s\\n" "${COMPREPLY[@]}"\ncomplete -p transmitter >/dev/null'],
        capture_output=True, text=True, check=False, cwd=tmp_path)
    assert (done.returncode, done.stderr) == (0, "")
    assert sorted(done.stdout.splitlines()) == sorted(completed)


def test_the_script_is_clean(script, tmp_path):
    (tmp_path / "completion.bash").write_text(script)

    done = subprocess.run(["bash", "-n", tmp_path / "completion.bash"], capture_output=True, text=True, check=False)
    assert (done.returncode, done.stderr) == (0, "")
