"""The service's texts, as a reader of its error stream gets them."""

import re

from quendal_tools.configuration import example, places

BANNER = f"\nQuendal for Linux: V_{places.version()}\n"
DEST_CREATED = "\nDest dir does not exist;creating...done!"
WORK_CREATED = "\nWork dir does not exist;creating...done!"

DATA_TASK_START = "\nDataTask starting up"
WAITING = "\nDataTask waiting for trigger to open sock..."
OPENING = "\nDataTask: init data socket..."
OPEN = "\ndata sock OK!"
CLOSING = "\ndata sock Paused!"
DATA_TASK_PAUSED = "\nDataTask paused"
CLOSED_MESSAGES = ["\nDataTask: triggered to pause, closing sock...", DATA_TASK_PAUSED]
CLOSED = "".join(CLOSED_MESSAGES)
CEASED = "\nDataTask ceased to operate"
LINKED = "\n Quendal_L info: found linked network intf:eth0"
NOT_LINKED = "\nQuendal_L info: loopback to return:"
BACK_ON = "\nNetwork is back ON again!"
DHCP = "dhcpcd up eth0 cmd rc code"
DHCP_OK = DHCP + "0"

VIDEO_START = "\nVideo Mc Watch Init Task starting up..."

MULTICAST_TRIGGER = "\nMcTask: trigger has arrived, init/re-init mc socket..."
MULTICAST_RESUMED = "mc thread resume!\n"
_MULTICAST_CLOSING = "\nMcTask: triggered to pause, closing sock..."
MULTICAST_TASK_PAUSED = "\nMcTask paused"
MULTICAST_PAUSED = _MULTICAST_CLOSING + MULTICAST_TASK_PAUSED
MULTICAST_CEASED = "\nMcTask ceased to operate"
MULTICAST_JOINED = "\nMcTask: multicast group joined"
# A reply by multicast never leaves: its three failures are what can be seen of it.
REPLY_BY_MULTICAST = 3 * (
    "\nSend_mcLCDpacket w/o file: Exception Met sending 3-elem mcast!\nException Message:Invalid argument")
ALIVE_FILE_NOT_TAKEN = "\nExcp met handling chk alive file element\nException Message:"

_RELAUNCH = r"relauching mcast thread at hour:\d+\.\.\."
_OF_MULTICAST = re.compile("|".join([
    _RELAUNCH, re.escape(MULTICAST_TRIGGER), r"\nmttl:-?\d+", r"\nmc[RT]xTimeout:1", re.escape(MULTICAST_RESUMED),
    re.escape(_MULTICAST_CLOSING), re.escape(MULTICAST_TASK_PAUSED), re.escape(MULTICAST_CEASED),
    re.escape(MULTICAST_JOINED), r"\nMcTask: Exception Met!\nException Message:.*?(?=mc thread resume!)"]))


def multicast_settings(ttl: int = 1) -> str:
    return f"\nmttl:{ttl}\nmcRxTimeout:1\nmcTxTimeout:1"


def multicast_opening(ttl: int = 1) -> str:
    return MULTICAST_TRIGGER + multicast_settings(ttl) + MULTICAST_RESUMED


def multicast_opening_failed(message: str, settings: str = "") -> str:
    return MULTICAST_TRIGGER + settings + f"\nMcTask: Exception Met!\nException Message:{message}" + MULTICAST_RESUMED


MULTICAST_OPENED = multicast_opening()


def without_relaunch(text: str, opening: str = MULTICAST_OPENED) -> str:
    """At some full hours of the day the multicast socket is opened anew: leaves the words about that out."""
    return re.sub(_RELAUNCH, "", re.sub(_RELAUNCH + re.escape(MULTICAST_PAUSED + opening), "", text))


def without_multicast(text: str) -> str:
    """The text without what the multicast and video tasks write about their state, at any moment.

    At some full hours of the day the multicast task opens its socket anew, which fails when the link has just
    gone: neither can be foreseen.
    """
    return _OF_MULTICAST.sub("", text).replace(VIDEO_START, "")


def multicast_part(text: str, opening: str = MULTICAST_OPENED) -> str:
    """What the multicast task writes about its state and its failures, but for the openings that the hour brings."""
    return without_relaunch("".join(_OF_MULTICAST.findall(text)), opening)


def connected(*peers: str) -> str:
    return "".join(f"Connection from {peer}\n" for peer in peers)


def disconnected(*peers: str) -> str:
    return "".join(f"Disconnecting {peer}\n" for peer in peers)


def file_named(name: str) -> str:
    return "\nDataRxFileElement,fileAsciiName:" + name


def failed(code: int) -> str:
    return f"\nData TCP port read err, Err RC:{code}"


def reopened(*peers: str) -> str:
    """What follows an error: the service drops these connections and opens again."""
    return CLOSING + disconnected(*peers) + CLOSED + WAITING + OPENING + OPEN


def exception(place: str, message: str) -> str:
    return f"\n{place} Exception Met!\nException Message:{message}"


_WRONG_FORMAT = "Error Network packet format detected,disconnecting..."
HEADER_REFUSED = "\nDataProcHeader:" + _WRONG_FORMAT
STATUS_REFUSED = "\nDataRxCmdStatus:" + _WRONG_FORMAT
DATAGRAM_REFUSED = "\n" + _WRONG_FORMAT


def closed_by_peer(place: str) -> str:
    return f"\n{place}read 0 bytes, seems that socket was closed,disconnecting..."


def start_up(*, static: str = "", interface: str | None = example.INTERFACE, group: str = example.GROUP,
             converted: str | None = None, identity: str = "/".join(map(str, example.NUMBERS)),
             dip: str = "Car Type, Unit ID = 0", orientation: str = "Landscape",
             created: str = DEST_CREATED + WORK_CREATED) -> str:
    """All that is written before the first task runs.

    created is about the missing directories, static what is written while a static address is set.
    """
    text = BANNER + created + static
    if interface:
        text += f"\nusing interface:{interface}\ncarrier sig:/sys/class/net/{interface}/carrier"
    text += f"\nlcdMcastIp in ini:{group}\n\n\nlcdMcastIp in ini,after convert:{converted or group}"
    text += f"\n   GroupNO/LiftNO/DisplayNO:{identity}"
    return text + f"\r\n   DIP switch set LCD to {dip}\r\n   Orientation: {orientation}\r\n"


def before_tasks(text: str) -> str:
    """What stands before the first word of DataTask, without the maintenance task's, which may be faster."""
    return text.partition(DATA_TASK_START)[0].replace(LINKED, "")


def command(text: str) -> str:
    """How a command that changes the address is announced."""
    return f"\r\nCmd:{text}\r\n"
