"""The Wireshark dissector, on a capture of what a transmitter and a display really say to each other."""

import os
import shutil
import subprocess

import pytest

from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support import dissected_session, dissection, multicast
from support.dissected_session import CLIP, CLIP_PIECES, NOTICED_WORD, REFUSED, REPORTED, TAKEN
from support.dissection import marks, packets, tshark

pytestmark = pytest.mark.long(70)


@pytest.fixture(scope="module")
def session(module_rig, tmp_path_factory):
    multicast.await_resumed_and_due(module_rig)
    return dissected_session.run(module_rig, tmp_path_factory.mktemp("capture") / "session.pcapng")


def packet_fields(count=3, *, words=("0x00000000", "0x00000000"), status=None, file=None, **others):
    """What stands in a right packet's fields, with what is different in this one."""
    told = {"header.length": "20", "mark": "0xc55c", "element_count": str(count), "header.reserved": "0",
            "word_a": words[0], "word_b": words[1], "signature": "0xa5a58ee8"}
    if count > 1:
        told |= {"status.length": "9", "status.kind": "1", "command": "0x0000", "status.flag": "1", **(status or {})}
    return told | (file or {}) | others


def file_fields(name, data):
    told = {"file.length": str(14 + len(name) + len(data)), "file.kind": "3", "file.name_length": str(len(name)),
            "file.name": name, "file.data_length": str(len(data))}
    return told | ({"file.data": data.hex()} if data else {})


def address_fields(unit, column, group, command="0x0000"):
    return {"status.length": "16", "command": command, "unit": str(unit), "column": str(column), "group": str(group)}


def descriptor_fields(board):
    text = ("\\n[Alive]\\ngroupID=1\\ncolumnID=2\\nunitID=3\\n"
            f"ipv4Addr={board.address}\\nphyAddr={board.hardware_address}\\n\\n")
    told = file_fields("KV_ALIVE_DESC.spt", text.replace("\\n", "\n").encode()) | {"descriptor": text}
    del told["file.data"]
    return told


WORDS = ("0x01020304", "0xa0b0c0d0")


def test_request_on_multicast_is_told_in_all_its_fields(session):
    server = multicast.server_entry(session.ports["reply"])

    assert packets(session.capture, "udp && lcdpacket.word_a == 0x01020304") == [packet_fields(
        words=WORDS, status=address_fields(3, 0, 1, "0x0101"), file=file_fields("alive_cfg.ini", server))]


def test_displays_reply_over_tcp_is_found_by_its_signature_and_told_with_its_descriptor(session):
    assert packets(session.capture, f"lcdpacket && tcp.port == {session.ports['reply']}") == [packet_fields(
        words=WORDS, status=address_fields(3, 0, 1, "0x0102"), file=descriptor_fields(session.board))]


def test_reply_on_multicast_is_told_like_the_one_over_tcp(session):
    assert packets(session.capture, "udp && lcdpacket.command == 0x0102") == [packet_fields(
        words=("0x00000001", "0x00000002"), status=address_fields(0, 0, 0, "0x0102"),
        file=descriptor_fields(session.board))]


def test_displays_heartbeat_is_told_in_all_its_fields(session):
    heartbeats = f"udp && lcdpacket && ip.src == {session.board.address}"

    told = packets(session.capture, heartbeats)
    assert told and all(each == packet_fields(2, status={"status.kind": "2"}) for each in told)
    infos = tshark(session.capture, "-Y", heartbeats, "-T", "fields", "-e", "_ws.col.Info").splitlines()
    assert infos == ["heartbeat"] * len(told)


def test_transfer_is_told_packet_by_packet(session):
    two_in_one = {"status.length": "9", "status.kind": "1", "command": "0x0000", "status.flag": "1",
                  **{name: f"{text},{text}" for name, text in packet_fields(1).items()}, "element_count": "1,2"}

    assert packets(session.capture, f"lcdpacket && tcp.port == {session.ports['transfer']}") == [
        packet_fields(file=file_fields("FileList.sys", b"clip.ts\r\n")),
        packet_fields(file=file_fields("clip.ts", CLIP)),
        two_in_one,
        packet_fields(file=file_fields("empty.bin", b"")),
        packet_fields(status=address_fields(3, 2, 1), file=file_fields("sub.bin", b"ab"),
                      **{"header.length": "24", "header.rest": b"more".hex()}),
    ]


def test_packet_in_several_segments_is_put_together_from_all_of_them(session):
    of_transfer = f"tcp.len > 0 && tcp.dstport == {DATA_PORT} && tcp.srcport == {session.ports['transfer']}"
    segments = dissection.frames(session.capture, of_transfer, "frame.number", "tcp.len")
    clip = segments[1:1 + len(CLIP_PIECES) + 1]

    told, = dissection.frames(
        session.capture, 'lcdpacket.file.name == "clip.ts"', "frame.number", "tcp.segment", "tcp.reassembled.length")

    assert [int(segment["tcp.len"]) for segment in clip[:-1]] == list(CLIP_PIECES)
    assert told["frame.number"] == clip[-1]["frame.number"]
    assert set(told["tcp.segment"].split(",")) == {segment["frame.number"] for segment in clip}
    assert int(told["tcp.reassembled.length"]) == len(packet.file_packet("clip.ts", CLIP))


@pytest.mark.parametrize("name", REFUSED)
def test_packet_that_the_display_drops_the_connection_for_is_marked(session, name):
    _, reason, code = REFUSED[name]

    assert session.codes[name] == code
    assert marks(session.capture, f"lcdpacket && tcp.port == {session.ports[name]}") == [reason]


def test_what_follows_a_malformed_packet_is_no_packet(session):
    of_connection = f"tcp.srcport == {session.ports['behind']} && tcp.len > 0"

    assert dissection.frames(session.capture, of_connection, "_ws.col.Info", "lcdpacket.command") == [
        {"_ws.col.Info": "[malformed: a wrong signature]"}, {"_ws.col.Info": "[behind a malformed packet]"}]


def test_datagrams_that_the_display_complains_about_or_that_are_cut_short_are_marked(session):
    expected: dict[str, str | None] = {f"{name}, reported": reason for name, (_, reason) in REPORTED.items()}
    expected.update((name, reason) for name, (_, reason) in TAKEN.items())
    from_transmitter = f"udp && ip.src == {session.board.pc.address} && lcdpacket"
    # Before these go the request and the reply; behind them the transmitter's farewell.
    told = marks(session.capture, f"{from_transmitter} && !(lcdpacket.word_a == {NOTICED_WORD})")[2:-1]

    assert dict(zip(expected, told, strict=True)) == expected


def test_only_malformed_packets_are_marked(session):
    marked = dissection.frames(session.capture, "lcdpacket.malformed", "frame.number")
    expected = len(REFUSED) + 1 + len(REPORTED) + sum(reason is not None for _, reason in TAKEN.values())

    assert len(marked) == expected


def test_second_look_at_the_frames_tells_the_same(session):
    everything = ("lcdpacket", "frame.number", "_ws.col.Info", "_ws.expert.message")

    assert dissection.frames(session.capture, *everything, options=["-2"]) == dissection.frames(
        session.capture, *everything)


def test_packets_on_other_ports_are_found_by_their_signature(session):
    elsewhere = ["-o", "lcdpacket.tcp_port:50201", "-o", "lcdpacket.udp_port:50101"]
    right = (f"lcdpacket && (tcp.port == {session.ports['transfer']} || tcp.port == {session.ports['reply']} || "
             f"udp && ip.src == {session.board.address})")
    assert len(packets(session.capture, right)) > 6

    assert packets(session.capture, right, options=elsewhere) == packets(session.capture, right)


def edited(session, tmp_path, options, choice=()):
    """A part of the capture, as editcap's options and its choice of frames say."""
    capture = tmp_path / "part.pcapng"
    subprocess.run(["editcap", *options, session.capture, capture, *choice], check=True, capture_output=True)
    return capture


def test_capture_that_begins_in_the_middle_of_a_file_tells_of_the_next_packet_on(session, tmp_path):
    told, = dissection.frames(session.capture, 'lcdpacket.file.name == "clip.ts"', "frame.number")
    capture = edited(session, tmp_path, ["-r"], [told["frame.number"] + "-99999"])
    of_transfer = f"lcdpacket && tcp.port == {session.ports['transfer']}"

    assert packets(capture, of_transfer) == packets(session.capture, of_transfer)[2:]
    assert marks(capture, of_transfer) == [None] * 3


def test_packets_that_the_capture_has_cut_are_not_called_malformed(session, tmp_path):
    capture = edited(session, tmp_path, ["-s", "100"])
    right = f"lcdpacket && (tcp.port == {session.ports['transfer']} || lcdpacket.word_a == 0x01020304)"

    infos = [frame["_ws.col.Info"] for frame in dissection.frames(capture, right, "_ws.col.Info")]
    assert marks(capture, right) == [None] * len(infos)
    assert infos[:2] == [
        "alive request, group 1 column 0 unit 3, [the capture has no more of it]", "[not reassembled]"]


def test_technicians_installation_is_found_without_being_named(session, tmp_path):
    folder = tmp_path / ".local/lib/wireshark/plugins"
    folder.mkdir(parents=True)
    shutil.copy(dissection.DISSECTOR, folder)

    told = tshark(session.capture, "-Y", "lcdpacket", "-T", "fields", "-e", "_ws.col.Info", dissector=(),
                  env={**os.environ, "HOME": str(tmp_path)})

    assert told == tshark(session.capture, "-Y", "lcdpacket", "-T", "fields", "-e", "_ws.col.Info")
