"""A board's disk that takes its time, or reports errors: see tests/system/preload/disk.cpp."""

from quendal_tools.sandbox.board import Board

CONTROL = "/run/disk"
LIBRARY = "libquendal_test_disk.so"


class Disk:
    """Give its before_start and env to make_rig."""

    _board: Board

    def __init__(self, quendal):
        self._library = quendal.with_name(LIBRARY)

    def before_start(self, board):
        self._board = board
        board.write(f"{CONTROL}/{LIBRARY}", self._library.read_bytes())

    @staticmethod
    def env(display_env):
        # A sanitizer wants to be the first library of all, which the preloaded one is.
        return {**display_env, "QUENDAL_TEST_DISK": CONTROL, "LD_PRELOAD": f"{CONTROL}/{LIBRARY}",
                "ASAN_OPTIONS": "verify_asan_link_order=0"}

    def hold(self):
        self._board.write(f"{CONTROL}/hold", b"")

    def release(self):
        self._board.path(f"{CONTROL}/hold").unlink()

    def fail(self):
        self._board.write(f"{CONTROL}/fail", b"")

    def syncs(self):
        """How often the service has had a file system written back."""
        file = self._board.path(f"{CONTROL}/syncs")
        return file.stat().st_size if file.exists() else 0
