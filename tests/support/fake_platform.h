// The recording definition of the platform seam: the unit tests link it in place of the real one.
//
// Nothing runs, nothing waits and nothing is written to a disk: shell commands and waits are recorded in order, across
// all threads.
#pragma once

#include <Poco/Timestamp.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace quendal::fake {

/// Forgets everything recorded and every setting below. Each test runs in a process of its own, so only
/// tests that look at two runs need it.
void reset();

/// What happened so far, in order: "run <command>" for a shell command ("run [<directory>] <command>"
/// where it has a working directory), "sleep <ms>" for platform::sleepMs, "wait <ms>" for a task's own
/// wait.
std::vector<std::string> events();

/// Only the shell commands, without the leading "run ".
std::vector<std::string> commands();

/// Those of them that may take as long as they get on: they were run with a Progress.
std::set<std::string> patientCommands();

/// Calls `observer` after each event has been recorded, on the thread that caused it: the place to
/// look at the world "during" a wait, or to change it. It may cancel tasks and set flags.
void onEvent(std::function<void(const std::string& event)> observer);

/// The wait status that every shell command returns from now on; 0 at first.
void setShellStatus(int status);

/// What platform::now() returns. Until it is set, the process that asks is aborted.
void setNow(const Poco::Timestamp& time);

/// Called for platform::syncFileSystem, on its thread, and gives its result; 0 until set. Not recorded as an
/// event: it happens in the background.
void onSync(std::function<int(int descriptor)> sync);

/// The one IPv4 address that platform::isOwnAddress takes for the machine's own; none until set, so that servers on
/// the loopback interface are hosts like any other.
void setOwnAddress(const std::string& address);

/// Below which folder platform::systemPath finds the system's files; unchanged paths until set.
void setSystemRoot(const std::string& folder);

}  // namespace quendal::fake
