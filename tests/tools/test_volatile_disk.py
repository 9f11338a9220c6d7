"""The disk of the power cuts: a write is seen at once, and safe once it is flushed."""

import random
import socket
import struct

import pytest
from hypothesis import given, settings
from hypothesis import strategies as st

from quendal_tools.power_cuts.nbd_server import NbdServer
from quendal_tools.power_cuts.volatile_disk import SECTOR, VolatileDisk

SECTORS = 8
FLUSH = "flush"

writes = st.tuples(st.integers(0, SECTORS - 1), st.integers(1, 3)).map(lambda it: (it[0], min(it[1], SECTORS - it[0])))


def sector(number):
    return bytes([number % 256]) * SECTOR


@pytest.fixture(name="image", scope="module")
def _image(tmp_path_factory):
    return tmp_path_factory.mktemp("disk") / "image"


@settings(deadline=None)  # files are written, on a machine that may be busy
@given(st.lists(st.one_of(st.just(FLUSH), writes), max_size=20), st.integers(0, 1 << 32))
def test_power_cut_leaves_each_sector_as_flushed_or_as_written_since(image, steps, seed):
    image.write_bytes(bytes(SECTORS * SECTOR))
    possible = [{sector(0)} for _ in range(SECTORS)]
    seen = [sector(0)] * SECTORS

    with VolatileDisk(image) as disk:
        for number, step in enumerate(steps, 1):
            if step == FLUSH:
                disk.flush()
                possible = [{content} for content in seen]
            else:
                first, count = step
                disk.write(first * SECTOR, sector(number) * count)
                for place in range(first, first + count):
                    seen[place] = sector(number)
                    possible[place].add(sector(number))
            assert disk.read(0, SECTORS * SECTOR) == b"".join(seen)
        disk.lose_power(random.Random(seed))

        left = [disk.read(place * SECTOR, SECTOR) for place in range(SECTORS)]
    assert all(content in allowed for content, allowed in zip(left, possible))


def test_unflushed_writes_are_lost_in_part_in_any_order_and_torn_between_sectors(image):
    outcomes = set()
    for seed in range(200):
        image.write_bytes(bytes(3 * SECTOR))
        with VolatileDisk(image) as disk:
            disk.write(0, sector(1))
            disk.write(SECTOR, sector(2) * 2)
            unflushed, lost = disk.lose_power(random.Random(seed))
            left = tuple(disk.read(place * SECTOR, 1)[0] for place in range(3))
        assert (unflushed, lost) == (2, (left[0] != 1) + (left[1:] != (2, 2)))
        outcomes.add(left)

    assert outcomes == {(first, *rest) for first in (0, 1) for rest in ((0, 0), (2, 0), (2, 2))}


@pytest.fixture(name="served")
def _served(tmp_path):
    """A disk of four sectors with its server, and QEMU's end of the connection behind the greeting."""
    image = tmp_path / "image"
    image.write_bytes(bytes(4 * SECTOR))
    with VolatileDisk(image) as disk:
        server = NbdServer(disk, tmp_path / "socket")
        with socket.socket(socket.AF_UNIX) as machine:
            machine.settimeout(5)
            machine.connect(str(server.path))
            greeting = machine.recv(152, socket.MSG_WAITALL)
            assert struct.unpack(">8sQQI124x", greeting) == (b"NBDMAGIC", 0x420281861253, 4 * SECTOR, 5)
            yield disk, server, machine
        server.close()


def ask(machine, kind, offset=0, length=0, data=b""):
    machine.sendall(struct.pack(">IHHQQI", 0x25609513, 0, kind, 7, offset, length or len(data)) + data)


def answer(machine, length=0):
    assert machine.recv(16, socket.MSG_WAITALL) == struct.pack(">IIQ", 0x67446698, 0, 7)
    return machine.recv(length, socket.MSG_WAITALL) if length else b""


def test_served_disk_reads_what_was_written_and_flushes(served):
    disk, _, machine = served

    ask(machine, 1, SECTOR, data=sector(3))
    answer(machine)
    ask(machine, 0, 0, 2 * SECTOR)
    assert answer(machine, 2 * SECTOR) == sector(0) + sector(3)
    ask(machine, 3)
    answer(machine)

    assert disk.lose_power(random.Random(0)) == (0, 0)
    assert disk.read(SECTOR, SECTOR) == sector(3)


def test_without_power_nothing_is_carried_out_or_answered(served):
    disk, server, machine = served
    server.cut_at_write(2)

    ask(machine, 1, 0, data=sector(1))
    answer(machine)
    ask(machine, 1, SECTOR, data=sector(2))
    ask(machine, 3)

    assert server.off.wait(5)
    machine.settimeout(0.2)
    with pytest.raises(TimeoutError):
        machine.recv(1)
    assert disk.read(0, 2 * SECTOR) == sector(1) + sector(0)
    assert disk.lose_power(random.Random(0))[0] == 1
