"""Where the service finds its files on a board, and the example configuration there."""

from quendal_tools.configuration.ini_text import Overrides, with_keys
from quendal_tools.configuration.places import EXAMPLE

APPLICATION = "/data/app/kavenor"
BIN = APPLICATION + "/bin"
WORK = APPLICATION + "/Work"
DEST = APPLICATION + "/Dest"
TARGET = APPLICATION + "/Target"
LOG = "/data/app/Log"
MAKER_WORK = "/data/home/kavenor/Work"


def example_configuration(overrides: Overrides, static_address: tuple[str, str] | None = None) -> dict[str, str]:
    """The example configuration as a mapping from path to text; overrides are for Quendal_L.ini."""
    files = {
        WORK + "/Quendal_L.ini": with_keys((EXAMPLE / "Quendal_L.ini").read_text(), overrides),
        WORK + "/KvId.ini": (EXAMPLE / "KvId.ini").read_text(),
        WORK + "/CurLayOut.cfg": (EXAMPLE / "CurLayOut.cfg").read_text(),
    }
    if static_address:
        files[WORK + "/IPAddress.ini"] = static_configuration(*static_address)
    return files


def static_configuration(address: str, gateway: str) -> str:
    """IPAddress.ini for these two IPv4 addresses."""
    keys = {"IP": address, "DefaultGateway": gateway, "DNS": gateway}
    return with_keys((EXAMPLE / "IPAddress.ini").read_text(), keys)
