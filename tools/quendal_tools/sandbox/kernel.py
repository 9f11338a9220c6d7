"""The few Linux system calls the sandbox needs and Python 3.11 does not offer."""

import ctypes
import os
import platform

CLONE_NEWNS = 0x00020000
CLONE_NEWUTS = 0x04000000
CLONE_NEWIPC = 0x08000000
CLONE_NEWUSER = 0x10000000
CLONE_NEWPID = 0x20000000
CLONE_NEWNET = 0x40000000

MS_RDONLY = 1
MS_NOSUID = 2
MS_NODEV = 4
MS_NOEXEC = 8
MS_BIND = 4096
MS_REC = 16384
MS_PRIVATE = 1 << 18

MNT_DETACH = 2
PR_SET_PDEATHSIG = 1

AT_FDCWD = -100
AT_RECURSIVE = 0x8000
MOUNT_ATTR_RDONLY = 1

_PIVOT_ROOT = {"x86_64": 155, "aarch64": 41}
_MOUNT_SETATTR = 442

_libc = ctypes.CDLL(None, use_errno=True)


class _MountAttr(ctypes.Structure):
    _fields_ = [(name, ctypes.c_uint64) for name in ("set", "clear", "propagation", "userns_fd")]


def _check(result: int, what: str) -> None:
    if result == -1:
        code = ctypes.get_errno()
        raise OSError(code, f"{what}: {os.strerror(code)}")


def _bytes(text: str | None) -> bytes | None:
    return None if text is None else os.fsencode(text)


def unshare(flags: int) -> None:
    _check(_libc.unshare(ctypes.c_int(flags)), "unshare")


def mount(source: str | None, target: str, kind: str | None = None, flags: int = 0, data: str | None = None) -> None:
    result = _libc.mount(_bytes(source), _bytes(target), _bytes(kind), ctypes.c_ulong(flags), _bytes(data))
    _check(result, f"mount {target}")


def make_read_only(target: str) -> None:
    """Makes the mount at target and every mount below it read-only."""
    _set_mount_attributes(target, _MountAttr(set=MOUNT_ATTR_RDONLY))


def make_writable(target: str) -> None:
    """Takes make_read_only back; only for mounts that were made in this mount namespace."""
    _set_mount_attributes(target, _MountAttr(clear=MOUNT_ATTR_RDONLY))


def _set_mount_attributes(target: str, attributes: _MountAttr) -> None:
    result = _libc.syscall(
        ctypes.c_long(_MOUNT_SETATTR), ctypes.c_int(AT_FDCWD), _bytes(target), ctypes.c_uint(AT_RECURSIVE),
        ctypes.byref(attributes), ctypes.c_size_t(ctypes.sizeof(attributes)))
    _check(result, f"mount_setattr {target}")


def pivot_root(new_root: str) -> None:
    """Makes new_root the root of this mount namespace and lets go of the old one."""
    os.chdir(new_root)
    number = _PIVOT_ROOT[platform.machine()]
    _check(_libc.syscall(ctypes.c_long(number), b".", b"."), "pivot_root")
    _check(_libc.umount2(b".", ctypes.c_int(MNT_DETACH)), "umount of the old root")
    os.chdir("/")


def set_parent_death_signal(number: int) -> None:
    _check(_libc.prctl(ctypes.c_int(PR_SET_PDEATHSIG), ctypes.c_ulong(number), 0, 0, 0), "prctl")


def set_host_name(name: str) -> None:
    encoded = os.fsencode(name)
    _check(_libc.sethostname(encoded, ctypes.c_size_t(len(encoded))), "sethostname")
