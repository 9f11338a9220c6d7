"""Makes the system that an emulated board boots: Debian's kernel, unpacked, and Debian's packages as an initramfs.

Nothing is installed for this: the packages are only downloaded, and read where they lie.
"""

import hashlib
import lzma
import os
import pathlib
import re
import shutil
import struct
import subprocess
import tarfile
import tempfile
from typing import BinaryIO

from quendal_tools.configuration.places import BUILD
from quendal_tools.emulator.initramfs import Initramfs

DIRECTORY = BUILD / "emulator"

# tiny-initramfs and usr-is-merged stand in for much larger packages that these would ask for instead.
_PACKAGES = (
    "linux-image-amd64 tiny-initramfs usr-is-merged systemd systemd-sysv kmod "
    "bash dash coreutils findutils grep mawk sed tar gzip util-linux mount procps sudo "
    "net-tools iproute2 dhcpcd-base "
    "libpocofoundation80 libpocoutil80 libpoconet80 libpcap0.8").split()

# The board's drivers, and what the file systems ask for when they are mounted: FAT its tables of letters, ext4 its sum.
_MODULES = (
    "virtio_pci virtio_console virtio_blk e1000 xhci_pci usb_storage sd_mod ext4 crc32c_generic "
    "vfat nls_cp437 nls_ascii nls_utf8 nls_iso8859_1").split()

_LEFT_OUT = re.compile(
    r"boot/|usr/share/(doc|man|info|locale|perl|i18n|bash-completion|lintian|bug|zoneinfo)/|usr/include/|"
    r"usr/lib/modules/|usr/lib/systemd/system-generators/|(usr/lib/x86_64-linux-gnu|usr/share)/(gconv|perl)")
_MERGED = ("bin", "sbin", "lib", "lib64")

# Links that the packages' own scripts would make.
_LINKS = {"usr/bin/awk": "mawk", "etc/mtab": "../proc/self/mounts"}


class GuestSystemError(Exception):
    """The emulated board's system cannot be made here."""


def system() -> pathlib.Path:
    """Where the system is kept; the name tells by which recipe it was made, so that a changed one makes it anew."""
    recipe = pathlib.Path(__file__).read_bytes()
    return DIRECTORY / f"system-{hashlib.sha256(recipe).hexdigest()[:8]}"


def kernel() -> pathlib.Path:
    return system() / "vmlinux"


def base() -> pathlib.Path:
    return system() / "base.cpio"


def is_ready() -> bool:
    return system().exists()


def make() -> None:
    """Downloads the packages and makes both files, which appear only when they are whole."""
    DIRECTORY.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=DIRECTORY) as scratch:
        packages = _download(pathlib.Path(scratch, "packages"))
        (image,) = (package for package in packages if package.name.startswith("linux-image-6"))
        tree = pathlib.Path(scratch, "kernel")
        _run("dpkg-deb", "--extract", image, tree)
        (compressed,) = tree.glob("boot/vmlinuz-*")
        finished = pathlib.Path(scratch, "finished")
        finished.mkdir()
        (finished / kernel().name).write_bytes(_unpacked_kernel(compressed.read_bytes()))
        with (finished / base().name).open("wb") as file:
            _write_base(file, packages, _selected_modules(tree))
        for old in DIRECTORY.glob("system-*"):
            shutil.rmtree(old)
        finished.rename(system())


def _run(*command: str | pathlib.Path) -> str:
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise GuestSystemError(f"{' '.join(map(str, command))}: {result.stderr.strip()}")
    return result.stdout


def _download(directory: pathlib.Path) -> list[pathlib.Path]:
    """The packages and all that they depend on, as if nothing were installed on this machine."""
    (directory / "partial").mkdir(parents=True)
    nothing_installed = directory / "status"
    nothing_installed.touch()
    _run("apt-get", "--yes", "--download-only", "--no-install-recommends",
         "-o", f"Dir::State::status={nothing_installed}", "-o", f"Dir::Cache::archives={directory}",
         "-o", "Debug::NoLocking=1", "-o", "APT::Sandbox::User=", "install", *_PACKAGES)
    return sorted(directory.glob("*.deb"))


def _unpacked_kernel(image: bytes) -> bytes:
    """The kernel proper out of its self-unpacking image: unpacking it again at every start would take seconds."""
    setup_sectors = image[0x1F1] or 4
    offset, length = struct.unpack_from("<II", image, 0x248)
    start = (setup_sectors + 1) * 512 + offset
    return lzma.LZMADecompressor().decompress(image[start:start + length])


def _selected_modules(tree: pathlib.Path) -> dict[str, bytes]:
    """The modules that the board's hardware needs, and their index; {path in the guest: content}."""
    (directory,) = tree.glob("lib/modules/*")
    found = {path.stem.replace("-", "_"): path for path in directory.rglob("*.ko")}
    needed: dict[str, bytes] = {}

    def need(name: str) -> None:
        if name in found and name not in needed:
            content = found[name].read_bytes()
            needed[name] = content
            for others in re.findall(rb"\0depends=([^\0]*)\0", content):
                for other in others.decode().split(","):
                    need(other.replace("-", "_"))

    for name in _MODULES:
        need(name)
    for name, path in found.items():
        if name not in needed:
            path.unlink()
    _run("/sbin/depmod", "-b", tree, directory.name)
    return {f"usr/{path.relative_to(tree)}": path.read_bytes()
            for path in sorted(directory.rglob("*")) if path.is_file()}


def _write_base(file: BinaryIO, packages: list[pathlib.Path], modules: dict[str, bytes]) -> None:
    archive = Initramfs(file)
    for name in _MERGED:
        archive.directory("usr/" + name)
        archive.link(name, "usr/" + name)
    archive.device("dev/console", 0o600, 5, 1)
    for package in packages:
        _add_package(archive, package)
    for path, content in modules.items():
        archive.file(path, content)
    archive.file("etc/modules", "\n".join(_MODULES) + "\n")
    for path, target in _LINKS.items():
        archive.link(path, target)
    archive.close()


def _add_package(archive: Initramfs, package: pathlib.Path) -> None:
    with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", package], stdout=subprocess.PIPE) as process:
        with tarfile.open(fileobj=process.stdout, mode="r|") as members:
            for member in members:
                path = _path_in_guest(member.name)
                if path not in (".", *_MERGED) and not _LEFT_OUT.match(path + "/"):
                    _add_member(archive, path, member, members)
    if process.returncode != 0:
        raise GuestSystemError(f"{package.name} cannot be read")


def _path_in_guest(name: str) -> str:
    path = os.path.normpath(name)
    return "usr/" + path if path.startswith(tuple(top + "/" for top in _MERGED)) else path


def _add_member(archive: Initramfs, path: str, member: tarfile.TarInfo, members: tarfile.TarFile) -> None:
    if member.isdir():
        archive.directory(path, member.mode)
    elif member.issym():
        archive.link(path, member.linkname)
    elif member.islnk():
        archive.link(path, "/" + _path_in_guest(member.linkname))
    elif member.isfile():
        content = members.extractfile(member)
        archive.file(path, content.read() if content else b"", member.mode)
