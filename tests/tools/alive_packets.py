"""What a display sends, as bytes."""

from quendal_tools.protocol import packet

DESCRIPTOR = (b"\n[Alive]\ngroupID=1\ncolumnID=2\nunitID=3\nipv4Addr=192.168.0.20\n"
              b"phyAddr=00:11:22:33:44:55\n\n")
HEARTBEAT = bytes.fromhex("140000005cc50200 0000000000000000 e88ea5a5 0900000002000000 01")


def reply(descriptor=DESCRIPTOR, header=None, command=packet.ALIVE_REPLY, name=b"KV_ALIVE_DESC.spt"):
    fields = {"element_count": 3, "request_word_a": 7, "request_word_b": 8, **(header or {})}
    return packet.LcdPacket.build({
        "header": fields,
        "status": {"command": command, "address": {"unit": 0, "column": 0, "group": 0}},
        "file": {"head": {"name": name, "data_length": len(descriptor)}, "data": descriptor}})
