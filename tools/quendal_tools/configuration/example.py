"""What the example configuration in tools/example says, for everybody who has to use the same values."""

from quendal_tools.configuration import ini_text
from quendal_tools.configuration.identity import Numbers
from quendal_tools.configuration.places import EXAMPLE


def _values(name: str) -> dict[str, str]:
    return ini_text.read((EXAMPLE / name).read_text())


_SERVICE = _values("Quendal_L.ini")
_IDENTITY = _values("KvId.ini")
_ADDRESS = _values("IPAddress.ini")

GROUP = _SERVICE["tessane param.lcdmcastip"]
GROUP_PORT = int(_SERVICE["tessane param.lcdmcastport"])
RELAUNCH_HOURS = int(_SERVICE["tessane param.mcrsthrfactor"])
DATA_PORT = int(_SERVICE["tessane param.lcddataport"])
LIST_NAME = _SERVICE["tessane param.usbsourcelistfile"]
INTERFACE = _SERVICE["ethernet.interface"]

NUMBERS = Numbers(int(_IDENTITY["groupno"]), int(_IDENTITY["columnno"]), int(_IDENTITY["displayno"]))

ADDRESS = _ADDRESS["ip"]
# The PC's side of the display's network.
GATEWAY = _ADDRESS["defaultgateway"]

# The example watches no video stream; whoever has one watched takes this group for it.
VIDEO_GROUP = "239.255.77.2"
