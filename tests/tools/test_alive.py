"""The alive check's bytes, and what is refused of what comes from the network."""

import configparser

import pytest
from hypothesis import given, strategies

from alive_packets import DESCRIPTOR, HEARTBEAT, reply
from quendal_tools.protocol import alive, packet


def with_line(old, new):
    assert old in DESCRIPTOR
    return DESCRIPTOR.replace(old, new)


def test_a_reply_gives_the_request_words_and_who_the_display_is():
    parsed = alive.parse_reply(reply())

    assert parsed == alive.Reply((7, 8), alive.Descriptor(1, 2, 3, "192.168.0.20", "00:11:22:33:44:55"))


def test_a_display_that_cannot_read_its_hardware_address_is_found_all_the_same():
    descriptor = with_line(b"phyAddr=00:11:22:33:44:55\n\n", b"phyAddr=\n")

    assert alive.parse_descriptor(descriptor).hardware_address is None


@pytest.mark.parametrize(("old", "new"), [
    pytest.param(b"[Alive]", b"[Dead]", id="another section"),
    pytest.param(b"[Alive]\n", b"", id="no section"),
    pytest.param(b"unitID=3\n", b"", id="a line missing"),
    pytest.param(b"unitID=3\n", b"unitID=3\nunitID=4\n", id="a line twice"),
    pytest.param(b"groupID=1", b"groupID=65536", id="a number above 16 bits"),
    pytest.param(b"groupID=1", b"groupID=-1", id="a negative number"),
    pytest.param(b"groupID=1", b"groupID=1_0", id="a number only Python would read"),
    pytest.param(b"groupID=1", b"groupID=", id="no number"),
    pytest.param(b"192.168.0.20", b"192.168.0.256", id="no address"),
    pytest.param(b"192.168.0.20", b"::1", id="another kind of address"),
    pytest.param(b"00:11:22:33:44:55", b"00:11:22:33:44", id="a short hardware address"),
    pytest.param(b"00:11:22:33:44:55", b"\x1b[31m", id="control characters"),
    pytest.param(b"00:11:22:33:44:55", b"\xff", id="no ASCII"),
    pytest.param(b"groupID=1", b"groupID=%(unitID)s", id="an expansion"),
])
def test_a_descriptor_that_makes_no_sense_is_refused(old, new):
    with pytest.raises(alive.BadReply, match="a descriptor that makes no sense"):
        alive.parse_descriptor(with_line(old, new))


@pytest.mark.parametrize(("data", "reason"), [
    (b"", "not one whole packet"),
    (reply()[:-1], "not one whole packet"),
    (reply() + b"\0", "not one whole packet"),
    (reply() * 2, "not one whole packet"),
    (b"\xff" * 60, "not one whole packet"),
    (reply(header={"signature": 1}), "a wrong signature"),
    (packet.status_packet(packet.ALIVE_REPLY), "not an alive reply"),
    (reply(command=packet.ALIVE_REQUEST), "not an alive reply"),
    (reply(name=b"KV_ALIVE_DESC.sp"), "a file other than the descriptor"),
])
def test_what_is_no_reply_is_refused_with_the_reason(data, reason):
    with pytest.raises(alive.BadReply) as refusal:
        alive.parse_reply(data)

    assert str(refusal.value) == reason


@given(strategies.binary(max_size=300))
def test_no_bytes_make_the_parsers_fail_otherwise(data):
    for parse in (alive.parse_reply, alive.parse_descriptor):
        with pytest.raises(alive.BadReply):
            parse(data)
    assert not alive.is_heartbeat(data)


@given(strategies.integers(0, len(reply()) - 1), strategies.integers(0, 255))
def test_a_changed_byte_never_makes_the_parser_fail_otherwise(position, value):
    changed = bytearray(reply())
    changed[position] = value

    try:
        alive.parse_reply(bytes(changed))
    except alive.BadReply:
        pass


def test_a_request_carries_the_words_the_numbers_and_the_server():
    datagram = alive.request({"group": 1, "column": 0, "unit": 3}, ("192.168.77.1", 4711), (11, 12))

    parsed = packet.LcdPacket.parse(datagram)
    assert (parsed.header.request_word_a, parsed.header.request_word_b) == (11, 12)
    assert parsed.status.command == 257
    assert [parsed.status.address[name] for name in ("group", "column", "unit")] == [1, 0, 3]
    ini = configparser.ConfigParser()
    ini.read_string(parsed.file.data.decode("ascii"))
    assert dict(ini["new_alive_cfgpc_info"]) == {"tcpserverport": "4711", "tcpserverip": "192.168.77.1"}


def test_the_wildcard_request_is_these_bytes():
    text = b"[new_alive_cfgpc_info]\nTCPserverPort=4711\nTCPserverIP=10.0.0.1\n"
    wildcards = {"group": 0, "column": 0, "unit": 0}

    assert alive.request(wildcards, ("10.0.0.1", 4711), (1, 2)) == (
        bytes.fromhex("14000000 5cc5 03 00 01000000 02000000 e88ea5a5"
                      "10000000 0100 0101 01 00 0000 0000 0000")
        + (14 + 15 + len(text)).to_bytes(4, "little") + bytes.fromhex("0300 0000 0f00") + b"alive_cfgpc.ini"
        + len(text).to_bytes(4, "little") + text)


def test_a_request_fits_into_a_display_s_receive_buffer():
    numbers = {"group": 65535, "column": 65535, "unit": 65535}

    assert len(alive.request(numbers, ("255.255.255.255", 65535), (0xFFFFFFFF, 0xFFFFFFFF))) <= 1000


def test_only_the_periodic_status_is_a_heartbeat():
    assert alive.is_heartbeat(HEARTBEAT)
    assert not alive.is_heartbeat(HEARTBEAT[:-1])
    assert not alive.is_heartbeat(packet.status_packet())
    assert not alive.is_heartbeat(packet.status_packet(packet.ALIVE_REQUEST))
    assert not alive.is_heartbeat(reply())
