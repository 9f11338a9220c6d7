"""One hundred thousand packets that have been tampered with, against a second telling of the rules.

An error makes the service drop its connections and open again half a second later, so a packet that ends its
connection costs that time. Therefore each connection carries a row of tampered packets behind which the stream
can still be read, and then one that ends it. All of them are counted, and none is only sent: what the service
wrote (each name, the message, the code) and stored is compared with the model's word for the whole stream, which
could not be the same had the service not read every packet of it. The rows' seeds are fixed.
"""

import os
import socket

import pytest

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support.model import Model
from support.mutation import Mutator
from support.rig import REOPEN_SECONDS, peer_of
from support.tail import Tail

PACKETS = 100_000
SEEDS = range(5)
ROW = 400


def contents(rig, directory):
    return {as_bytes(path.name): path.read_bytes()
            for path in rig.board.path(directory).iterdir()}


def exchange(rig, tail, stream):
    """Sends a whole connection; gives what the service wrote about it, and the connection's name."""
    with rig.board.pc.connect(DATA_PORT) as connection:
        peer = peer_of(connection)
        connection.sendall(stream)
        connection.shutdown(socket.SHUT_WR)
        said = b"".join(tail.until(as_bytes(text), REOPEN_SECONDS)
                        for text in (console.disconnected(peer), console.OPEN))
    return as_bytes(console.without_multicast(said.decode("utf-8", "surrogateescape"))), peer


def as_bytes(text):
    return text.encode("utf-8", "surrogateescape")


def difference(said, wanted):
    """Where two long texts part."""
    place = len(os.path.commonprefix([said, wanted]))
    return f"at byte {place}: {said[place - 100:place + 300]!r} instead of {wanted[place - 100:place + 300]!r}"


@pytest.mark.long(70)
@pytest.mark.parametrize("seed", SEEDS)
def test_every_tampered_packet_has_the_effect_and_the_words_that_the_rules_say(make_rig, seed):
    rig = make_rig(base_dir="/dev/shm")
    rig.await_open()
    tail, mutator, model = Tail(rig.service.stderr_file), Mutator(seed), Model()
    sent = 0

    while sent < PACKETS // len(SEEDS):
        row = [mutator.harmless() for _ in range(ROW)] + [mutator.fatal()]
        sent += len(row)
        text, code = model.connection(b"".join(row))
        said, peer = exchange(rig, tail, b"".join(row))
        wanted = as_bytes(console.connected(peer)) + text + as_bytes(console.failed(code) + console.reopened(peer))
        assert said == wanted, difference(said, wanted)

    assert contents(rig, TARGET) == model.files[False]
    assert contents(rig, "/tmp/Dest") == model.files[True]
    rig.send(packet.file_packet("FileList.sys", b""))
    rig.assert_good_transfer()
