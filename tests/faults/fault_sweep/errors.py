"""Which errors each call may plausibly give on a board, the most telling one first.

A number that only a mistake in the program brings about (EBADF, EFAULT) is no fault of the system. Calls that
cannot fail on a descriptor that is in order, such as F_SETFL, are wrapped and not listed. Neither is semop's ERANGE:
it comes only when the undo adjustment is used up, and the way out of that needs it to be.
"""

import errno
import socket

_OPEN = "EMFILE EIO EINTR ENOMEM EACCES"
_CREATE_DESCRIPTOR = "EMFILE ENFILE ENOMEM"
_STATUS = "EIO ENOMEM EACCES"
_READ = "EIO EINTR"
_WRITE = "ENOSPC EIO EINTR"
_SYNC = "EIO ENOSPC EINTR"
_RECEIVE = "ECONNRESET EINTR EAGAIN ENOMEM ENETDOWN"
_SEND = "ECONNRESET EINTR EAGAIN ENOBUFS EPIPE ENETUNREACH"
_ACCEPT = "EMFILE ECONNABORTED EINTR ENOBUFS ENOMEM EPERM"
_WAIT = "EINTR ENOMEM"

_BY_CALL = {
    **dict.fromkeys("open open64 openat openat64 __open64_2 fopen fopen64".split(), _OPEN),
    **dict.fromkeys("opendir fdopendir".split(), "EMFILE ENOMEM EIO"),
    **dict.fromkeys("stat stat64 lstat lstat64 fstat fstat64 statx readlink".split(), _STATUS),
    "realpath": "EIO ENOMEM EACCES",
    **dict.fromkeys("read readv fgets fread readdir readdir64".split(), _READ),
    "write": "EIO EINTR EAGAIN ENOSPC",
    **dict.fromkeys("writev fwrite fwrite_unlocked fflush".split(), _WRITE),
    **dict.fromkeys("close fclose".split(), "EIO EINTR ENOSPC"),
    "closedir": "EINTR",
    "fdopen": "ENOMEM",
    **dict.fromkeys("unlink unlinkat remove rmdir".split(), "EIO EINTR EROFS"),
    **dict.fromkeys("rename renameat renameat2".split(), "EIO ENOSPC EINTR EROFS"),
    "mkdir": "ENOSPC EIO EROFS",
    "fchmod": "EIO EROFS",
    "ftruncate64": "EIO ENOSPC EINTR",
    **dict.fromkeys("fsync fdatasync syncfs sync_file_range".split(), _SYNC),
    "socket": "EMFILE ENFILE ENOBUFS ENOMEM EACCES",
    "bind": "EADDRINUSE EADDRNOTAVAIL ENOMEM",
    "listen": "EADDRINUSE",
    **dict.fromkeys("accept accept4".split(), _ACCEPT),
    "connect": "ETIMEDOUT ECONNREFUSED EINTR EHOSTUNREACH EADDRNOTAVAIL",
    "shutdown": "ENOTCONN",
    "setsockopt": "ENOBUFS ENOMEM ENODEV EINVAL",
    "getsockopt": "ENOBUFS ENOMEM",
    "getsockname": "ENOBUFS",
    "getpeername": "ENOTCONN ENOBUFS",
    **dict.fromkeys("recv recvfrom recvmsg".split(), _RECEIVE),
    **dict.fromkeys("send sendto sendmsg".split(), _SEND),
    "ioctl": "EIO EINTR ENODEV ENOMEM",
    **dict.fromkeys("epoll_create epoll_create1 eventfd pipe pipe2 dup".split(), _CREATE_DESCRIPTOR),
    "dup2": "EINTR EMFILE",
    "epoll_ctl": "ENOMEM ENOSPC",
    "epoll_wait": "EINTR",
    **dict.fromkeys("poll select".split(), _WAIT),
    "getifaddrs": "ENOBUFS EMFILE ENOMEM",
    "if_nametoindex": "EMFILE ENODEV",
    "if_indextoname": "EMFILE ENXIO",
    "getaddrinfo": "EAI_AGAIN EAI_SYSTEM EAI_MEMORY EAI_FAIL",
    **dict.fromkeys("semop semtimedop".split(), "EINTR ENOMEM EIDRM"),
    "semctl": "EIDRM",
    "semget": "ENOMEM ENOSPC",
    "posix_spawn": "EAGAIN ENOMEM",
    "kill": "EPERM ESRCH",
    "waitpid": "EINTR",
    "pthread_create": "EAGAIN",
    **dict.fromkeys("getrlimit getrlimit64".split(), "EPERM"),
    **dict.fromkeys("nanosleep clock_nanosleep futex".split(), "EINTR"),
    **dict.fromkeys("mmap mmap64".split(), "ENOMEM EAGAIN"),
    **dict.fromkeys("malloc calloc realloc".split(), "ENOMEM"),
}

# A set of semaphores that is gone is no error of the service's: nothing is posted, and nothing is said.
SET_IS_GONE = "EIDRM"


def errors_of(call):
    """The names of the errors with which this call is to fail; none when it is only counted."""
    return _BY_CALL.get(call, "").split()


def calls():
    return set(_BY_CALL)


def number_of(error):
    return getattr(socket, error) if error.startswith("EAI_") else getattr(errno, error)
