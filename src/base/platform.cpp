#include "base/platform.h"

#include "base/service_task.h"

#include <Poco/Thread.h>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace quendal {
namespace platform {
namespace {

constexpr int kFirstDescriptorToClose = 3;

// The two attribute objects of posix_spawn, released on every way out.
class SpawnSettings {
 public:
  SpawnSettings() {
    posix_spawnattr_init(&attributes_);
    posix_spawn_file_actions_init(&actions_);

    // Our threads block the termination signals, and a child would inherit that: a DHCP client
    // started so could not be stopped any more.
    sigset_t none{};
    sigemptyset(&none);
    sigset_t all{};
    sigfillset(&all);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawn_file_actions_addclosefrom_np(&actions_, kFirstDescriptorToClose);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  SpawnSettings(SpawnSettings&&) = delete;
  SpawnSettings& operator=(SpawnSettings&&) = delete;

  // The child changes to `directory` before it becomes the shell.
  bool startIn(const std::string& directory) {
    return posix_spawn_file_actions_addchdir_np(&actions_, directory.c_str()) == 0;
  }

  const posix_spawnattr_t* attributes() const { return &attributes_; }
  const posix_spawn_file_actions_t* actions() const { return &actions_; }

 private:
  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t actions_{};
};

int waitForChild(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return status;
}

int runWith(const SpawnSettings& settings, const std::string& command) {
  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  const std::array<char*, 4> arguments = {shell.data(), option.data(), text.data(), nullptr};

  pid_t child = 0;
  if (posix_spawn(&child, "/bin/sh", settings.actions(), settings.attributes(), arguments.data(), environ) != 0) {
    return -1;
  }
  return waitForChild(child);
}

}  // namespace

int runShell(const std::string& command) {
  return runWith(SpawnSettings(), command);
}

// Spawned like every other command and not forked: between fork and exec the child of a threaded
// process may hardly call anything, and a descriptor or lock of ours would stay behind in it.
int runShellIn(const std::string& directory, const std::string& command) {
  SpawnSettings settings;
  if (!settings.startIn(directory)) {
    return -1;
  }
  return runWith(settings, command);
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
