// The seam to the machine: every shell command, wait, clock reading and path of the system passes here.
//
// Declared once and defined twice: platform.cpp is the real thing and goes into the program,
// tests/support/fake_platform.cpp records and goes into the unit tests. The linker chooses.
#pragma once

#include "base/progress.h"

#include <Poco/Timestamp.h>

#include <sys/socket.h>

#include <string>

namespace quendal::platform {

/// Runs `command` with /bin/sh and waits for it.
///
/// The child starts with default signal handling, an empty signal mask and none of this process's
/// descriptors but the three standard ones, so that a daemon which the command leaves behind can be
/// stopped and holds no port of ours. Any thread may call it; calls do not wait for each other.
///
/// A command has 60 s, or as long as it needs if `progress` is given and does not stand still for 60 s;
/// once the service is asked to stop it has 2 s. One that hangs is ended with its process group, or left
/// behind where that is not possible, and named in one line on the error stream: 2.5 s more at most.
///
/// Returns what system() returns: the wait status (0 after success, exit status * 256 after a plain
/// failure), or -1 when no child could be started or it is left behind. command_run.h has the rest.
int runShell(const std::string& command, const Progress& progress = {});

/// As runShell, with `directory` (absolute) as the child's working directory; the caller's own stays
/// as it is. Also -1 when the child cannot change to it: the command is then not run anywhere else.
int runShellIn(const std::string& directory, const std::string& command, const Progress& progress = {});

/// Writes the whole file system of `descriptor` (any file or folder on it, opened for reading or writing) to its
/// disk and waits for that, however long it takes. Returns 0, or the error that the disk has reported since the
/// descriptor was opened; each is told once. Before Linux 5.8 no such error is told.
int syncFileSystem(int descriptor);

/// Blocks the calling thread for `milliseconds`; nothing shortens it.
void sleepMs(long milliseconds);

/// The wall clock, UTC.
Poco::Timestamp now();

/// Does whoever connects to the host of `address` (IPv4 or IPv6, the port does not matter) reach this machine
/// itself, or all hosts of a network? True for the addresses of its interfaces, the whole network of the loopback
/// one included, and for the addresses by which an interface reaches all hosts; also when the system does not tell.
bool isOwnAddress(const sockaddr& address);

/// The path under which the system's own file `path` (absolute, as in "/sys/class/net/eth0/carrier")
/// is found: `path` itself in the program, a file below a temporary directory in the unit tests.
std::string systemPath(const std::string& path);

}  // namespace quendal::platform
