"""What the transmitter's stick check foresees is what the service does with the same stick."""

import pytest

from quendal_tools.configuration.example import NUMBERS
from quendal_tools.protocol.control_files import STOP_MARKER
from quendal_tools.stick import media
from quendal_tools.stick.forecast import Forecast, foresee
from support import stick
from support.stick import start_with_stick

SERVED_SECONDS = 90
FILES = {"FileList.sys": "x.zip\r\n", "FLDnCare.sys": "x.zip\r\n", "x.zip": "archive", "clip.ts": "video"}


def configure(folder, file_list, files=("FileList.sys", "FLDnCare.sys", "x.zip", "clip.ts")):
    return lambda drive: drive.write_folder(folder, file_list, {name: FILES[name] for name in files})


def folders(*names):
    return lambda drive: drive.make_folder(*names)


@pytest.mark.long(40)
@pytest.mark.parametrize("parts", [
    pytest.param([configure("1.2.3", "a#0#FileList.sys;b#0#x.zip;c#0#clip.ts"), configure("0.0.0", "a#0#clip.ts")],
                 id="an exact folder beside one for all"),
    pytest.param([configure("1.0.3", "a#0#clip.ts"), configure("1.2.0", ";;a#0#FLDnCare.sys;b#0#x.zip;")],
                 id="the column outweighs the unit"),
    pytest.param([configure("65537..x", "a#0#x.zip")], id="odd numbers and no control file"),
    pytest.param([configure("1.2.3", "a#0#FileList.sys;b#0#gone.zip;c#0#x.zip")], id="a listed file is missing"),
    pytest.param([configure("1.2.3", "a#0#x.zip"), folders("KVCFG/1.2.3/sub"), configure("1.2.3", "a#0#sub")],
                 id="a listed folder"),
    pytest.param([folders("KVCFG/1.2.3"), configure("1.2.0", "a#0#x.zip")], id="the best folder has no list"),
    pytest.param([folders("KVCFG/4.5.6", "KVCFG/1.2", "KVCFG/1.2.3.4")], id="no folder fits"),
    pytest.param([folders("KVBAK"), configure("1.2.3", "a#0#x.zip")], id="backup and configuration"),
    pytest.param([folders("KVBAK")], id="backup alone"),
    pytest.param([folders("KVLOG", "KVBAK", "KVSOURCE"), configure("1.2.3", "a#0#x.zip")], id="logs beside all else"),
    pytest.param([folders("KVSOURCE")], id="source alone"),
])
def test_the_service_does_what_was_foreseen(make_rig, parts):
    forecasts: list[Forecast] = []

    def prepare(drive):
        for part in parts:
            part(drive)
        forecasts.append(foresee(media.FolderStick(drive.path()), NUMBERS))

    rig, _ = start_with_stick(make_rig, prepare)

    # The duties for a stick come before the first look at the link.
    rig.display.wait_for("NETW_UP", timeout=SERVED_SECONDS)

    forecast = forecasts[0]
    stick.assert_woken(rig, *forecast.posted)
    marker = [STOP_MARKER] if "RXCOMPLETE" in forecast.posted else []
    assert stick.in_target(rig) == sorted([*forecast.copied, *marker])
    assert (stick.RESTART in stick.commands_of(rig)) == forecast.restarts
    root = f" CFGroot:/data/home/sda1/KVCFG/{forecast.chosen.name}/" if forecast.chosen else " CFGroot:"
    assert (root in rig.text_since(0)) == bool(forecast.chosen)
