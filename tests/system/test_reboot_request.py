"""A file named reboot.cfg: announced, waited for and asked for by a command that the board only records."""

from quendal_tools.board import console
from quendal_tools.board.layout import TARGET
from quendal_tools.protocol import packet
from support.rig import NOTICED_LATE, peer_of

ANNOUNCEMENT = "\nGoing to reboot device......\n"


def commands_since(rig, known):
    return rig.board.commands()[known:]


def test_reboot_request_syncs_announces_waits_three_seconds_posts_and_reboots(rig):
    name = "Reboot.Cfg"
    known, mark = len(rig.board.commands()), rig.service.mark()

    peer = rig.send(packet.file_packet(name, b"now"))

    (synced, sync), (rebooted, reboot) = commands_since(rig, known)
    assert (sync, reboot) == ("sudo sync", "sudo systemctl reboot -i")
    completed = rig.display.wait_for("RXCOMPLETE")
    assert completed - synced >= 3 - NOTICED_LATE
    assert rebooted >= completed - NOTICED_LATE
    rig.assert_woken("NETW_UP", "RXCOMPLETE")
    assert rig.stored(name) == b"now"
    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named(name) + ANNOUNCEMENT +
        console.closed_by_peer("DataProcHeader<pos:0>:") + console.failed(259) + console.reopened(peer))


def test_service_stays_usable_while_the_reboot_does_not_come(rig):
    rig.send(packet.file_packet("reboot.cfg", b""))

    rig.assert_good_transfer()


def test_names_that_only_hold_it_do_not_reboot(shared_rig):
    names = ("xreboot.cfg", "reboot.cfg.bak", "reboot_cfg", " reboot.cfg", "sub/reboot.cfg")
    shared_rig.board.path(f"{TARGET}/sub").mkdir(exist_ok=True)
    known, woken, mark = len(shared_rig.board.commands()), shared_rig.display.names(), shared_rig.service.mark()

    shared_rig.send(*(packet.file_packet(name, b"no") for name in names))

    assert [shared_rig.stored(name) for name in names] == len(names) * [b"no"]
    assert commands_since(shared_rig, known) == []
    assert shared_rig.display.names() == woken
    assert ANNOUNCEMENT not in shared_rig.text_since(mark)


def test_reboot_request_cut_short_does_not_reboot(shared_rig):
    known = len(shared_rig.board.commands())

    shared_rig.send(packet.file_head("reboot.cfg", 10) + b"123456789")

    assert shared_rig.stored("reboot.cfg") == b"123456789"
    assert commands_since(shared_rig, known) == []


def test_reboot_request_that_cannot_be_stored_does_not_reboot(rig):
    rig.board.path(f"{TARGET}/reboot.cfg").mkdir()
    known, mark = len(rig.board.commands()), rig.service.mark()

    with rig.session() as connection:
        peer = peer_of(connection)
        connection.sendall(packet.file_packet("reboot.cfg", b""))
        rig.service.wait_for(console.failed(1537), after=mark)

    assert commands_since(rig, known) == []
    assert rig.text_since(mark) == (
        console.connected(peer) + console.file_named("reboot.cfg") +
        console.exception("DataRxFileElement<pos:3>::",
                          "Invalid access: a file name must not stand for a directory: reboot.cfg") +
        console.failed(1537) + console.reopened(peer))
