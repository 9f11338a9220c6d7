#include "base/platform.h"

#include "base/command_run.h"
#include "base/service_task.h"
#include "base/shared_state.h"

#include <Poco/Thread.h>

#include <csignal>

namespace quendal {
namespace platform {
namespace {

// Both ways in which a stop shows: during the start-up, and until the main thread has seen it, the request is a
// blocked signal that waits.
bool isStopping() {
  if (shared::stopReq || shared::dataStopReq) {
    return true;
  }
  sigset_t waiting{};
  sigpending(&waiting);
  return sigismember(&waiting, SIGTERM) == 1 || sigismember(&waiting, SIGINT) == 1 ||
         sigismember(&waiting, SIGQUIT) == 1;
}

}  // namespace

int runShell(const std::string& command, const Progress& progress) {
  return runShellIn({}, command, progress);
}

int runShellIn(const std::string& directory, const std::string& command, const Progress& progress) {
  return runCommand({.command = command, .directory = directory, .progress = progress}, CommandLimits(), isStopping);
}

int syncFileSystem(int descriptor) {
  return ::syncfs(descriptor) == 0 ? 0 : errno;
}

void sleepMs(long milliseconds) {
  Poco::Thread::sleep(milliseconds);
}

Poco::Timestamp now() {
  return {};
}

std::string systemPath(const std::string& path) {
  return path;
}

}  // namespace platform

bool ServiceTask::sleepMs(long milliseconds) {
  Poco::Task::sleep(milliseconds);
  return mustStop();
}

}  // namespace quendal
