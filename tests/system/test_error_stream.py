"""An error stream that nobody reads: every task goes on, and what was lost is told when somebody reads again."""

import os
import re

import pytest

from quendal_tools.protocol import packet
from quendal_tools.board.layout import TARGET
from quendal_tools.board.waiting import wait_until
from quendal_tools.board import console
from support.error_stream import NOTICE, SILENT, Heard, empty_pipe

PAYLOAD = bytes(range(256)) * 1000


@pytest.fixture
def hear(make_board, quendal):
    """Starts the service with such an error stream."""
    heard = []

    def start(stream, **options):
        heard.append(Heard(make_board(), quendal, stream, **options))
        return heard[-1]

    yield start
    for one in heard:
        one.process.kill()
        one.stream.close()


@pytest.mark.parametrize("kind", SILENT)
def test_stream_without_room_from_the_start_holds_no_task(hear, kind):
    service = hear(SILENT[kind]())

    service.assert_receives("first.bin", PAYLOAD)
    service.assert_replies()
    service.assert_receives("second.bin", PAYLOAD)

    assert service.stream.is_waited_for()
    service.assert_stops()
    assert service.display.names()[0] == "NETW_UP"


@pytest.mark.parametrize("kind", SILENT)
def test_reader_that_comes_back_is_told_how_much_it_has_missed_and_hears_the_rest(hear, kind):
    service = hear(SILENT[kind]())
    service.assert_receives("unheard.bin", PAYLOAD)

    filling = service.stream.read()
    service.stream.resume()
    text = service.stream.read_until(re.compile(NOTICE.encode()), filling)

    told = re.match(NOTICE, text.strip(b"\0").decode())
    # At the least: banner, directories, reports, the tasks' first words and the file.
    assert told and int(told.group(1)) > 15
    service.assert_receives("heard.bin", PAYLOAD)
    service.assert_stops()
    text = service.stream.read().decode()
    assert console.file_named("heard.bin") in text
    assert text.endswith(console.CEASED) or text.endswith("\nMcTask ceased to operate")
    assert "dropped" not in text
    assert service.stream.is_waited_for()


def names(count):
    return [f"{number:04d}" + "n" * 200 for number in range(count)]


def test_stream_that_fills_during_a_transfer_does_not_stop_it(hear):
    service = hear(empty_pipe())
    count = 1000

    with service.connect() as connection:
        connection.sendall(b"".join(packet.file_packet(name, b"x") for name in names(count)))
        wait_until(lambda: service.stored(names(count)[-1]) == b"x", 20, "the last file")

    assert len(list(service.board.path(TARGET).iterdir())) >= count
    text = service.stream.read_until(re.compile(NOTICE.encode()))
    service.assert_stops()
    text = (text + service.stream.read()).decode()
    heard = re.findall(r"fileAsciiName:(\d{4})(n*)", text)
    assert [int(number) for number, _ in heard] == list(range(len(heard))), "in order, and whole"
    assert {len(rest) for _, rest in heard} == {200}
    assert 200 < len(heard) < count, "the pipe holds 64 KiB"
    assert sum(int(number) for number in re.findall(NOTICE, text)) >= count - len(heard)


def test_stream_whose_reader_has_gone_is_no_error(hear):
    service = hear(empty_pipe())
    service.stream.close_reading()

    service.assert_receives("first.bin", PAYLOAD)
    service.assert_replies()
    service.assert_stops()


def test_file_on_a_full_disk_holds_nobody_and_goes_on_when_there_is_room(make_board, quendal):
    board = make_board()
    board.run(["sh", "-c", "mkdir /small; mount -t tmpfs -o size=64k tmpfs /small; "
                           "head -c 65536 /dev/zero >/small/filler 2>/dev/null; true"], check=True)
    stream = empty_pipe()
    service = Heard(board, quendal, stream, wrapper=["sh", "-c", 'exec "$0" 2>>/small/err'])
    service.assert_receives("first.bin", PAYLOAD)

    board.run(["rm", "/small/filler"], check=True)

    def text():
        return board.run(["cat", "/small/err"]).stdout

    wait_until(lambda: re.search(NOTICE, text()), 20, "the notice")
    service.assert_receives("second.bin", PAYLOAD)
    service.assert_stops()
    assert re.match(NOTICE + ".*" + re.escape(console.file_named("second.bin")), text(), re.DOTALL)
    stream.close()


def test_pipe_that_the_service_may_not_open_anew_holds_no_task(hear):
    stream = SILENT["unread pipe"]()
    os.fchmod(stream.given, 0)  # as another user's, for somebody who is not above all permissions
    service = hear(stream, wrapper=["setpriv", "--bounding-set", "-dac_override,-dac_read_search"])

    service.assert_receives("first.bin", PAYLOAD)
    pipe = os.readlink(f"/proc/self/fd/{stream.given}")
    assert [number for number, file in service.descriptors() if file == pipe] == [2]
    service.assert_stops()
