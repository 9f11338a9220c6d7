"""The service's texts, as a reader of its error stream gets them."""

import re

BANNER = "\nQuendal for Linux: V_1.6.0\n"
DEST_CREATED = "\nDest dir does not exist;creating...done!"
WORK_CREATED = "\nWork dir does not exist;creating...done!"

DATA_TASK_START = "\nDataTask starting up"
WAITING = "\nDataTask waiting for trigger to open sock..."
OPENING = "\nDataTask: init data socket..."
OPEN = "\ndata sock OK!"
CLOSING = "\ndata sock Paused!"
CLOSED_MESSAGES = ["\nDataTask: triggered to pause, closing sock...", "\nDataTask paused"]
CLOSED = "".join(CLOSED_MESSAGES)
CEASED = "\nDataTask ceased to operate"
LINKED = "\n Quendal_L info: found linked network intf:eth0"
NOT_LINKED = "\nQuendal_L info: loopback to return:"
BACK_ON = "\nNetwork is back ON again!"
DHCP_OK = "dhcpcd up eth0 cmd rc code0"


VIDEO_START = "\nVideo Mc Watch Init Task starting up..."
MULTICAST_OPEN = "mc thread resume!\n"
MULTICAST_CLOSING = "\nMcTask: triggered to pause, closing sock...\nMcTask paused"
MULTICAST_CEASED = "\nMcTask ceased to operate"
_RELAUNCH = r"relauching mcast thread at hour:\d+\.\.\."
_OF_MULTICAST = re.compile("|".join([
    _RELAUNCH, r"\nMcTask: trigger has arrived, init/re-init mc socket\.\.\.", r"\nmttl:-?\d+", r"\nmcRxTimeout:1",
    r"\nmcTxTimeout:1", r"mc thread resume!\n", r"\nMcTask: triggered to pause, closing sock\.\.\.",
    r"\nMcTask paused", r"\nMcTask ceased to operate"]))


def multicast_opening(ttl=1):
    return (f"\nMcTask: trigger has arrived, init/re-init mc socket...\nmttl:{ttl}\nmcRxTimeout:1\nmcTxTimeout:1"
            + MULTICAST_OPEN)


def without_multicast(text):
    """The text without what the multicast and video tasks write about their state, at any moment.

    At some full hours of the day the multicast task opens its socket anew, so this cannot be foreseen.
    """
    return _OF_MULTICAST.sub("", text).replace(VIDEO_START, "")


def multicast_part(text, ttl=1):
    """What the multicast task writes about its state, without the openings that the hour brings about."""
    part = "".join(_OF_MULTICAST.findall(text))
    part = re.sub(_RELAUNCH + re.escape(MULTICAST_CLOSING + multicast_opening(ttl)), "", part)
    return re.sub(_RELAUNCH, "", part)


def connected(*peers):
    return "".join(f"Connection from {peer}\n" for peer in peers)


def disconnected(*peers):
    return "".join(f"Disconnecting {peer}\n" for peer in peers)


def file_named(name):
    return "\nDataRxFileElement,fileAsciiName:" + name


def failed(code):
    return f"\nData TCP port read err, Err RC:{code}"


def reopened(*peers):
    """What follows an error: the service drops these connections and opens again."""
    return CLOSING + disconnected(*peers) + CLOSED + WAITING + OPENING + OPEN


def exception(place, message):
    return f"\n{place} Exception Met!\nException Message:{message}"


def closed_by_peer(place):
    return f"\n{place}read 0 bytes, seems that socket was closed,disconnecting..."


def start_up(*, static="", interface="eth0", group="239.255.77.1", converted=None, identity="1/2/3",
             dip="Car Type, Unit ID = 0", orientation="Landscape", created=DEST_CREATED + WORK_CREATED):
    """All that is written before the first task runs.

    created is about the missing directories, static what is written while a static address is set.
    """
    text = BANNER + created + static
    if interface:
        text += f"\nusing interface:{interface}\ncarrier sig:/sys/class/net/{interface}/carrier"
    text += f"\nlcdMcastIp in ini:{group}\n\n\nlcdMcastIp in ini,after convert:{converted or group}"
    text += f"\n   GroupNO/LiftNO/DisplayNO:{identity}"
    return text + f"\r\n   DIP switch set LCD to {dip}\r\n   Orientation: {orientation}\r\n"


def before_tasks(text):
    """What stands before the first word of DataTask, without the maintenance task's, which may be faster."""
    return text.partition(DATA_TASK_START)[0].replace(LINKED, "")


def command(text):
    """How a command that changes the address is announced."""
    return f"\r\nCmd:{text}\r\n"


def is_interleaving(text, *tasks):
    """Is the text made of the tasks' messages and nothing else, each task's in its order?

    A task's messages are a list of texts; each is written in one piece, but tasks write when they come to it.
    """
    states = {(0,) * len(tasks): 0}
    reached = {}
    while states:
        reached.update(states)
        following = {}
        for done, offset in states.items():
            for number, messages in enumerate(tasks):
                if done[number] < len(messages) and text.startswith(messages[done[number]], offset):
                    step = done[:number] + (done[number] + 1,) + done[number + 1:]
                    following[step] = offset + len(messages[done[number]])
        states = following
    return reached.get(tuple(len(messages) for messages in tasks)) == len(text)
