"""The link watchdog with a real carrier: loss, return, and what counts as up."""

import pytest

from quendal_tools.board import console
from quendal_tools.board.waiting import wait_until
from quendal_tools.configuration.example import DATA_PORT
from quendal_tools.protocol import packet
from support.interleaving import is_interleaving
from support.rig import NOTICED_LATE, peer_of

LOSS_SECONDS = 40
UP_COMMAND, DHCP_COMMAND = "sudo ifconfig eth0 up", "sudo dhcpcd -d eth0 -t 30 -L"
FLUSH_COMMAND, LEASES_COMMAND = "sudo ip addr flush dev eth0", "sudo rm -Rf /var/lib/dhcpcd/*"
PAUSED = console.CLOSED + console.WAITING


def texts(commands):
    return [text for _, text in commands]


def times_of(display, name):
    return [moment for moment, event in display.events() if event == name]


def without_cable(board):
    board.cable(False)


def without_address(board):
    board.run(["ip", "address", "flush", "dev", "eth0"], check=True)


def lose_link(rig):
    """Pulls the cable and waits until the service has closed its port."""
    mark = rig.service.mark()
    rig.board.cable(False)
    rig.service.wait_for(PAUSED, timeout=LOSS_SECONDS, after=mark)


def regain_link(rig, times_up=2):
    mark = rig.service.mark()
    rig.board.cable(True)
    rig.display.wait_for("NETW_UP", count=times_up, timeout=LOSS_SECONDS)
    rig.await_open(mark)


def is_refused(rig):
    """Is nobody listening on the board? Asked there, because without a cable nothing else can."""
    return "Connection refused" in rig.board.run(["bash", "-c", f"exec 3<>/dev/tcp/127.0.0.1/{DATA_PORT}"]).stderr


@pytest.mark.long(30)
def test_without_carrier_netw_dn_comes_about_every_nine_seconds_and_the_port_stays_closed(make_rig):
    rig = make_rig(before_start=without_cable)

    rig.display.wait_for("NETW_DN", count=3, timeout=60)

    moments = times_of(rig.display, "NETW_DN")
    for earlier, later in zip(moments, moments[1:]):
        assert 9 - NOTICED_LATE <= later - earlier < 15
    assert set(rig.display.names()) == {"NETW_DN"}
    assert is_interleaving(
        rig.text_since(0).removeprefix(console.start_up()), [console.DATA_TASK_START, console.WAITING],
        [console.LINKED])
    assert is_refused(rig)


@pytest.mark.long(30)
def test_address_left_over_without_carrier_is_flushed_from_the_second_cycle_on(make_rig):
    rig = make_rig(before_start=without_cable)

    rig.display.wait_for("NETW_DN", count=3, timeout=60)

    assert texts(rig.board.commands()) == [
        UP_COMMAND, UP_COMMAND, FLUSH_COMMAND, UP_COMMAND, FLUSH_COMMAND]
    assert "inet " not in rig.board.run(["ip", "address", "show", "dev", "eth0"]).stdout


@pytest.mark.long(40)
def test_loss_closes_the_port_and_return_opens_it_with_these_words_and_commands(rig):
    rig.board.write("/var/lib/dhcpcd/eth0.lease", "lease")
    rig.service.wait_for(console.MULTICAST_RESUMED)
    mark, known = rig.service.mark(), len(rig.board.commands())

    lose_link(rig)

    lost = wait_until(lambda: len(rig.board.commands()) >= known + 3 and rig.board.commands()[known:], 10, "commands")
    assert texts(lost)[:3] == [UP_COMMAND, FLUSH_COMMAND, "sudo rm -Rf /var/lib/dhcpcd/eth0.lease"]
    wait_until(lambda: not rig.board.path("/var/lib/dhcpcd/eth0.lease").exists(), 5, "the leases' end")
    assert rig.text_since(mark).replace("[1]", "") == console.CLOSING + PAUSED
    assert rig.multicast_since(mark) == console.MULTICAST_PAUSED
    raw = rig.service.stderr_text()[mark:]
    assert raw.index(console.MULTICAST_TASK_PAUSED) < raw.index(console.CLOSING)
    assert is_refused(rig)

    mark = rig.service.mark()
    regain_link(rig)
    rig.service.wait_for(console.MULTICAST_RESUMED, after=mark)
    assert rig.multicast_since(mark) == console.multicast_opening()

    assert is_interleaving(
        rig.text_since(mark).replace("[1]", ""), [console.OPENING, console.OPEN],
        [console.DHCP_OK, console.LINKED, console.BACK_ON, console.LINKED])
    assert texts(rig.board.commands())[-2:] == [UP_COMMAND, DHCP_COMMAND]
    names = rig.display.names()
    assert (names[0], names[-1], names.count("NETW_UP")) == ("NETW_UP", "NETW_UP", 2)
    assert set(names[1:-1]) == {"NETW_DN"}
    rig.assert_good_transfer()


@pytest.mark.long(40)
def test_netw_dn_is_posted_at_once_and_the_port_closes_six_seconds_later(rig):
    mark = rig.service.mark()

    rig.board.cable(False)
    down = rig.display.wait_for("NETW_DN", timeout=20)
    rig.service.wait_for(PAUSED, timeout=LOSS_SECONDS, after=mark)

    leases_removed = wait_until(
        lambda: next((moment for moment, text in rig.board.commands() if text == LEASES_COMMAND), None), 20, "rm")
    assert leases_removed - down >= 6 - NOTICED_LATE
    flushed = next(moment for moment, text in rig.board.commands() if text == FLUSH_COMMAND)
    assert flushed <= down + NOTICED_LATE


@pytest.mark.long(40)
def test_loss_drops_open_connections_and_repeated_loss_is_handled_each_time(rig):
    for round_number in range(2):
        with rig.connect() as one, rig.connect() as two:
            mark = rig.service.mark()
            lose_link(rig)
            text = rig.text_since(mark).replace("[1]", "")
            assert sorted(text.removeprefix(console.CLOSING).removesuffix(PAUSED).splitlines()) == sorted(
                console.disconnected(peer_of(one), peer_of(two)).splitlines())
            regain_link(rig, times_up=2 + round_number)
    rig.assert_good_transfer()


@pytest.mark.long(75)
def test_loss_in_the_middle_of_a_transfer_releases_the_display_and_a_later_transfer_arrives(rig):
    mark = rig.service.mark()
    with rig.connect() as connection:
        connection.sendall(packet.file_head("half.bin", 100_000) + bytes(50_000))
        rig.service.wait_for("half.bin", after=mark)
        rig.board.cable(False)
        rig.display.wait_for("RXCOMPLETE", timeout=60)
        rig.service.wait_for(PAUSED, timeout=LOSS_SECONDS, after=mark)
        regain_link(rig)

    pausing = console.exception("DataRxFileElement<pos:3>::", "Illegal state: the service is pausing")
    assert pausing in rig.text_since(mark)
    assert console.failed(1537) in rig.text_since(mark)
    assert set(rig.stored("half.bin")) <= {0} and len(rig.stored("half.bin")) <= 50_000
    rig.assert_good_transfer()


@pytest.mark.parametrize("address, pc_address", [("169.254.7.10", "169.254.7.1")])
def test_link_local_address_counts_as_down(make_rig, address, pc_address):
    rig = make_rig(address=address, pc_address=pc_address)

    rig.display.wait_for("NETW_DN", count=2, timeout=40)

    assert set(rig.display.names()) == {"NETW_DN"}
    assert texts(rig.board.commands()) == [UP_COMMAND, DHCP_COMMAND] * 2


def test_client_without_lease_leaves_the_link_down_and_its_status_is_reported(make_rig):
    rig = make_rig(dhcpcd_status=1, before_start=without_address)

    rig.display.wait_for("NETW_DN", count=2, timeout=40)

    assert set(rig.display.names()) == {"NETW_DN"}
    assert is_interleaving(
        rig.text_since(0).removeprefix(console.start_up()), [console.DATA_TASK_START, console.WAITING],
        [console.NOT_LINKED] + [console.DHCP, "256"] * 2)
    assert texts(rig.board.commands()) == [UP_COMMAND, DHCP_COMMAND] * 2


def test_ipv6_address_alone_counts_as_down(make_rig):
    def only_ipv6(board):
        without_address(board)
        board.run(["ip", "address", "add", "fd00::10/64", "dev", "eth0", "nodad"], check=True)

    rig = make_rig(dhcpcd_status=1, before_start=only_ipv6)

    rig.display.wait_for("NETW_DN", timeout=20)

    assert rig.display.names() == ["NETW_DN"]


@pytest.mark.parametrize("name", ["eth9", "eth0; touch /tmp/owned"])
def test_missing_or_impossible_interface_is_down_and_no_command_is_run(make_rig, name):
    rig = make_rig(ini={"ethernet.interface": name})

    rig.display.wait_for("NETW_DN", timeout=20)

    assert rig.text_since(0).startswith(console.start_up(interface=name))
    assert rig.board.commands() == []
    assert not rig.board.path("/tmp/owned").exists()


def test_other_interface_with_an_address_is_not_taken_for_eth0(make_rig):
    def add_eth1(board):
        for words in ("link add eth1 type veth peer name eth2", "address add 10.9.9.9/24 dev eth1", "link set eth1 up",
                      "link set eth2 up"):
            board.run(["ip", *words.split()], check=True)
        without_address(board)

    rig = make_rig(dhcpcd_status=1, ini={"ethernet.interface": "eth1"}, before_start=add_eth1)

    rig.display.wait_for("NETW_DN", timeout=20)

    assert texts(rig.board.commands()) == ["sudo ifconfig eth1 up", "sudo dhcpcd -d eth1 -t 30 -L"]
    assert is_interleaving(
        rig.text_since(0).removeprefix(console.start_up(interface="eth1")),
        [console.DATA_TASK_START, console.WAITING],
        [console.NOT_LINKED, "dhcpcd up eth1 cmd rc code", "256", console.NOT_LINKED])


def test_interface_that_is_down_is_not_found_until_the_service_has_brought_it_up(make_rig):
    rig = make_rig(before_start=lambda board: board.run(["ip", "link", "set", "eth0", "down"], check=True))

    rig.await_open()

    rig.assert_woken("NETW_UP")
    assert is_interleaving(
        rig.text_since(0).removeprefix(console.start_up()),
        [console.DATA_TASK_START, console.WAITING, console.OPENING, console.OPEN],
        [console.NOT_LINKED, console.DHCP_OK, console.LINKED, console.BACK_ON, console.LINKED])
    assert texts(rig.board.commands()) == [UP_COMMAND, DHCP_COMMAND]


def test_link_up_is_posted_once_and_idle_cycles_do_nothing(rig):
    mark, known = rig.service.mark(), len(rig.board.commands())
    began = rig.service.cpu_seconds()

    # Two cycles more: nothing marks them from outside, which is what is tested.
    with pytest.raises(TimeoutError):
        rig.display.wait_for("NETW_DN", timeout=7)

    assert rig.display.names() == ["NETW_UP"]
    assert rig.text_since(mark) == ""
    assert rig.board.commands()[known:] == []
    assert rig.service.cpu_seconds() - began < 0.5
