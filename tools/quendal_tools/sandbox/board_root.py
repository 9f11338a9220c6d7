"""The board's own root file system: the host's programs read-only, everything else private.

Runs inside the board's new mount namespace, once, before anything else is started there.
"""

import os

from quendal_tools.sandbox import kernel

_PROGRAM_DIRECTORIES = ("usr", "bin", "sbin", "lib", "lib32", "lib64", "libx32")
_READ_ONLY_ETC = ("alternatives", "ld.so.cache", "ssl")
_DEVICES = ("null", "zero", "full", "random", "urandom", "tty")
_MACHINE_SETTINGS = ("acpi", "bus", "fs", "irq", "sys", "sysrq-trigger")
# The drives that the board's kernel would list; a stick is plugged by writing here. None of the host's is shown.
BLOCK_DEVICES = "/opt/board/block-devices"
PARTITIONS = "/opt/board/partitions"
_DRIVE_LISTS = ((BLOCK_DEVICES, "/sys/class/block"), (PARTITIONS, "/proc/partitions"))
_LOCKED = kernel.MS_NOSUID | kernel.MS_NODEV | kernel.MS_NOEXEC


def enter(root: str, tools: str) -> None:
    """Builds the root below the directory root and moves this process into it."""
    kernel.mount(None, "/", None, kernel.MS_REC | kernel.MS_PRIVATE)
    kernel.mount(root, root, None, kernel.MS_BIND)
    for name in _PROGRAM_DIRECTORIES:
        _offer_programs("/" + name, os.path.join(root, name))
    for name in _READ_ONLY_ETC:
        if os.path.exists("/etc/" + name):
            _bind_read_only("/etc/" + name, os.path.join(root, "etc", name))
    _bind_read_only(tools, os.path.join(root, "opt/quendal/tools"))
    _make_devices(os.path.join(root, "dev"))
    for name in ("proc", "sys"):
        os.mkdir(os.path.join(root, name))
    mount_kernel_files(root)
    for ours, kernels in _DRIVE_LISTS:
        _bind_read_only(root + ours, root + kernels)
    kernel.pivot_root(root)


def mount_kernel_files(root: str) -> None:
    """/proc and /sys of this process's namespaces.

    To the kernel, root on the board is the user who made it. When that is the host's root, settings
    of the whole machine would be writable: only those of the board's own network may be.
    """
    proc = os.path.join(root, "proc")
    kernel.mount("sysfs", os.path.join(root, "sys"), "sysfs", _LOCKED | kernel.MS_RDONLY)
    kernel.mount("proc", proc, "proc", _LOCKED)
    for name in _MACHINE_SETTINGS:
        path = os.path.join(proc, name)
        if os.path.exists(path):
            _bind_read_only(path, path)
    network = proc + "/sys/net"
    _bind(network, network)
    kernel.make_writable(network)


def _offer_programs(source: str, target: str) -> None:
    if os.path.islink(source):
        os.symlink(os.readlink(source), target)
    elif os.path.isdir(source):
        _bind_read_only(source, target)


def _bind_read_only(source: str, target: str) -> None:
    _bind(source, target)
    kernel.make_read_only(target)


def _bind(source: str, target: str) -> None:
    if os.path.isdir(source):
        os.makedirs(target, exist_ok=True)
    elif not os.path.exists(target):
        os.makedirs(os.path.dirname(target), exist_ok=True)
        open(target, "x").close()
    kernel.mount(source, target, None, kernel.MS_BIND | kernel.MS_REC)


def _make_devices(directory: str) -> None:
    os.makedirs(directory, exist_ok=True)
    kernel.mount("dev", directory, "tmpfs", kernel.MS_NOSUID, "mode=755")
    for name in _DEVICES:
        _bind_read_only("/dev/" + name, os.path.join(directory, name))
    os.mkdir(os.path.join(directory, "pts"))
    kernel.mount("devpts", os.path.join(directory, "pts"), "devpts", kernel.MS_NOSUID | kernel.MS_NOEXEC,
                 "newinstance,ptmxmode=0666,mode=620")
    os.symlink("pts/ptmx", os.path.join(directory, "ptmx"))
    os.mkdir(os.path.join(directory, "shm"))
    for name, target in (("fd", "fd"), ("stdin", "fd/0"), ("stdout", "fd/1"), ("stderr", "fd/2")):
        os.symlink("/proc/self/" + target, os.path.join(directory, name))
