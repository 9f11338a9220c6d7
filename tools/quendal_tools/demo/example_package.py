"""An example package as a transmitter would send it: two archives and a video clip, made on the spot."""

import pathlib
import random
import struct
import zipfile

CLIP_SIZE = 4_000_000

_TS_PACKET_SIZE = 188
_TS_SYNC = 0x47
_VIDEO_PID = 0x100
_ARCHIVE_TIME = (2024, 11, 2, 14, 3, 8)


def make(directory: pathlib.Path) -> list[pathlib.Path]:
    """Writes the package's files and returns their paths in the order in which they are sent."""
    layout = {
        "layout.ini": "[Panel]\nOrientation=0\nWidth=1920\nHeight=1080\n",
        **{f"floor_{number:02d}.txt": f"Floor {number}\n" for number in range(60)},
    }
    hub = {f"messages/{number:03d}.txt": f"Message {number}: please stand clear of the doors.\n" * 40
           for number in range(200)}
    return [
        _write_archive(directory / "Package_Hub.zip", hub),
        _write_archive(directory / "Package_Lyt.zip", layout),
        _write_clip(directory / "clip.ts"),
    ]


def _write_archive(path: pathlib.Path, members: dict[str, str]) -> pathlib.Path:
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, text in members.items():
            archive.writestr(zipfile.ZipInfo(name, _ARCHIVE_TIME), text)
    return path


def _write_clip(path: pathlib.Path) -> pathlib.Path:
    """An MPEG transport stream of one programme id; its payload is noise, as compressed video nearly is."""
    noise = random.Random(_TS_SYNC)
    with path.open("wb") as file:
        for count in range(CLIP_SIZE // _TS_PACKET_SIZE):
            flags = 0x10 | count & 0x0F
            file.write(struct.pack(">BHB", _TS_SYNC, _VIDEO_PID, flags) + noise.randbytes(_TS_PACKET_SIZE - 4))
    return path
