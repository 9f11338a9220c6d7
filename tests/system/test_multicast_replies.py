"""Alive requests and their replies, byte for byte."""

import time

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.protocol import packet
from quendal_tools.sandbox.fleet import Fleet, numbers_of
from quendal_tools.sandbox.pc import SandboxUnavailable
from support import multicast
from support.multicast import Transmitter

TOLERANCE = 0.1
QUIET_SECONDS = 2.5  # by then the display has handled its last datagram once more


def written_for(display, datagram, transmitter, last):
    """What the service has written when it has come to the text that ends it."""
    mark = display.service.mark()
    transmitter.send(datagram)
    end = display.service.wait_for(last, after=mark)
    return display.service.stderr_text()[mark:end]


def test_request_with_a_server_gets_its_reply_there_as_one_packet_on_one_connection(display, transmitter):
    mark = display.service.mark()

    transmitter.ask(unit=3, group=1, words=(0x01020304, 0xA0B0C0D0))

    expected = multicast.reply_bytes(display.board, unit=3, group=1, words=(0x01020304, 0xA0B0C0D0))
    assert transmitter.take_reply() == (expected, display.board.address)
    assert not transmitter.has_connection(within=QUIET_SECONDS)
    assert multicast.text_since(display, mark) == ""
    multicast.assert_no_temporary_files(display.board)


@pytest.mark.long(50)
def test_one_request_gets_a_reply_every_six_seconds_until_the_displays_own_heartbeat_replaces_it(
        display, transmitter):
    assert transmitter.heard(timeout=40)[0] == multicast.HEARTBEAT
    arrivals = []

    transmitter.ask()
    for _ in range(2):
        assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board)
        arrivals.append(time.monotonic())

    assert multicast.REPLY_INTERVAL - TOLERANCE <= arrivals[1] - arrivals[0] < 2 * multicast.REPLY_INTERVAL
    assert transmitter.heard(timeout=40)[0] == multicast.HEARTBEAT
    assert not transmitter.has_connection(within=multicast.REPLY_INTERVAL + QUIET_SECONDS)


def test_requests_three_seconds_apart_give_one_reply_and_six_seconds_apart_two(display, transmitter):
    transmitter.ask(words=(1, 0))
    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, words=(1, 0))
    replied = time.monotonic()
    transmitter.send(packet.status_packet())

    time.sleep(replied + 3 - time.monotonic())
    transmitter.ask(words=(2, 0))
    transmitter.send(packet.status_packet())
    assert not transmitter.has_connection(within=QUIET_SECONDS)

    time.sleep(max(0.0, replied + multicast.REPLY_INTERVAL + TOLERANCE - time.monotonic()))
    transmitter.ask(words=(3, 0))
    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, words=(3, 0))


def test_requests_for_other_displays_get_no_reply(display, transmitter):
    mark = display.service.mark()

    for unit, column, group in ((4, 0, 0), (3, 3, 1), (3, 2, 2), (1, 2, 3)):
        transmitter.ask(unit=unit, column=column, group=group)

    assert not transmitter.has_connection(within=QUIET_SECONDS)
    assert multicast.text_since(display, mark) == ""
    multicast.assert_replies(display, transmitter)


@pytest.mark.long(40)
def test_each_of_several_boards_replies_to_its_own_numbers_and_to_wildcards(quendal):
    try:
        fleet = Fleet(12)
    except SandboxUnavailable as error:
        pytest.skip(str(error))
    with fleet, Transmitter(fleet.pc) as transmitter:
        services = fleet.start_services(quendal)
        for service in services:
            service.wait_for(console.MULTICAST_RESUMED, timeout=60)
        of_address = {board.address: numbers_of(index) for index, board in enumerate(fleet.boards)}
        questions: list[dict[str, int]] = [{}, {"group": 1}, {"column": 2}, {"unit": 1}, {"column": 1, "unit": 2}]
        for asked in questions:
            time.sleep(multicast.REPLY_INTERVAL + 1)
            expected = {address for address, numbers in of_address.items()
                        if all(getattr(numbers, name) == value for name, value in asked.items())}
            transmitter.ask(**asked)
            assert {transmitter.take_reply()[1] for _ in expected} == expected, asked
            transmitter.send(packet.status_packet())
            assert not transmitter.has_connection(within=0.5), asked
        for service in services:
            service.terminate()
        assert [service.wait(30) for service in services] == [0] * len(services)


def test_request_without_a_file_gets_its_reply_by_multicast_whatever_the_configuration_says(make_rig):
    rig = make_rig(ini={"McastReplyByTCP": "true"})
    multicast.await_resumed_and_due(rig)
    with Transmitter(rig.board.pc) as transmitter:
        written = written_for(rig, multicast.request_packet(), transmitter, console.REPLY_BY_MULTICAST)

        assert console.without_relaunch(written) == console.REPLY_BY_MULTICAST
        with pytest.raises(TimeoutError):
            transmitter.heard(timeout=QUIET_SECONDS)
        assert not transmitter.has_connection()


@pytest.mark.parametrize("content, message", [
    (b"[new_alive_cfgpc_info]\nTCPserverPort=4711\n", "Not found: new_alive_cfgpc_info.TCPserverIP"),
    (b"[new_alive_cfgpc_info]\nTCPserverPort=web\nTCPserverIP=192.168.77.1\n",
     "Syntax error: Not a valid integer: web"),
])
def test_file_without_a_whole_server_entry_is_reported_and_the_reply_goes_by_multicast(
        display, transmitter, content, message):
    written = written_for(
        display, multicast.request_packet(content=content), transmitter, console.REPLY_BY_MULTICAST)

    assert console.without_relaunch(written) == (
        console.ALIVE_FILE_NOT_TAKEN + message + console.REPLY_BY_MULTICAST)


def test_file_without_a_port_has_the_reply_go_by_multicast_without_a_report(display, transmitter):
    written = written_for(display, multicast.request_packet(content=b"[other]\nTCPserverPort=1\n"), transmitter,
                          console.REPLY_BY_MULTICAST)

    assert console.without_relaunch(written) == console.REPLY_BY_MULTICAST


def test_header_alone_after_a_request_is_that_request_again_with_the_reply_by_multicast(display, transmitter):
    transmitter.ask()
    transmitter.take_reply()
    mark = display.service.mark()
    transmitter.send(packet.LcdPacket.build({"header": {"element_count": 1}, "status": None, "file": None}))

    end = display.service.wait_for(console.REPLY_BY_MULTICAST, after=mark)

    written = display.service.stderr_text()[mark:end]
    assert console.without_relaunch(written) == console.REPLY_BY_MULTICAST


def test_wrong_signature_is_reported_in_raw_bytes_and_copied_into_the_reply(display, transmitter):
    mark = display.service.mark()

    transmitter.ask(signature=0x0A09FF41)

    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board, signature=0x0A09FF41)
    assert multicast.text_since(display, mark).startswith(
        "\nsig Word Bytes:A\t\udcff\t\t\t\n\t"
        f"\nError Network packet format detected::sigWord Code:{0x0A09FF41},disconnecting...")


def test_wrong_status_kind_is_reported_and_gets_a_reply_all_the_same(display, transmitter):
    mark = display.service.mark()

    transmitter.ask(kind=3)

    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board)
    assert multicast.text_since(display, mark).startswith(console.DATAGRAM_REFUSED)


def test_other_commands_get_no_reply(display, transmitter):
    mark = display.service.mark()

    for command in (0, 1, 256, 258, 65535):
        transmitter.ask(command=command)

    assert not transmitter.has_connection(within=QUIET_SECONDS)
    assert multicast.text_since(display, mark) == ""
    multicast.assert_replies(display, transmitter)


def test_link_planted_under_the_next_temporary_name_is_not_followed(display, transmitter):
    pid = multicast.board_pid(display)
    display.board.write("/tmp/precious", "kept")
    for letter in "abcdefghijklmnopqrstuvwxyz":
        display.board.run(["ln", "-s", "/tmp/precious", f"/tmp/tmp{pid}{letter}aaaaa"], check=True)

    transmitter.ask()

    assert transmitter.take_reply()[0] == multicast.reply_bytes(display.board)
    assert display.board.path("/tmp/precious").read_text() == "kept"
    wait_until(lambda: f"tmp{pid}aaaaaa" not in multicast.temporary_files(display.board), 5, "the file's end")
