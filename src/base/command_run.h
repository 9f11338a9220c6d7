// Runs one shell command, for as long as that makes sense.
#pragma once

#include "base/command_patience.h"
#include "base/progress.h"

#include <functional>
#include <string>

namespace quendal {

struct CommandRequest {
  std::string command;
  std::string directory;  // empty: the caller's own
  Progress progress;      // empty: the command shows none
};

/// Runs the command and waits for it; platform::runShell says what it is started with.
///
/// One that passes its limits is ended with its process group, or left behind where that is not possible, and
/// named in one line on the error stream. `isStopping` tells that the service is asked to stop. One that was left
/// behind and still runs is not started again. Nothing is started any more once a stop has had to end a command:
/// the next would hang as well.
///
/// Returns the wait status, or -1 when the command was not started or is left behind. Any thread may call it;
/// calls do not wait for each other.
int runCommand(const CommandRequest& request, const CommandLimits& limits, const std::function<bool()>& isStopping);

}  // namespace quendal
