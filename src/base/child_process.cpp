#include "base/child_process.h"

#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <thread>
#include <utility>

namespace quendal {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr int kFirstDescriptorToClose = 3;
constexpr milliseconds kLookInterval{5};  // where the end cannot be waited for

// By its number: Debian 12's own declaration cannot be linked from C++.
int openProcess(pid_t pid) {
  return static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
}

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
    posix_spawnattr_setpgroup(&attributes_, 0);  // its own
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
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

}  // namespace

// Spawned and not forked, also for the directory's sake: between fork and exec the child of a threaded process
// may hardly call anything, and a descriptor or lock of ours would stay behind in it.
std::optional<ChildProcess> ChildProcess::start(const std::string& command, const std::string& directory) {
  SpawnSettings settings;
  if (!directory.empty() && !settings.startIn(directory)) {
    return std::nullopt;
  }
  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  const std::array<char*, 4> arguments = {shell.data(), option.data(), text.data(), nullptr};

  pid_t child = 0;
  if (posix_spawn(&child, "/bin/sh", settings.actions(), settings.attributes(), arguments.data(), environ) != 0) {
    return std::nullopt;
  }
  return ChildProcess(child);
}

ChildProcess::ChildProcess(pid_t pid) : pid_(pid), descriptor_(openProcess(pid)) {}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : pid_(other.pid_), descriptor_(std::exchange(other.descriptor_, -1)), status_(other.status_) {}

ChildProcess::~ChildProcess() {
  if (descriptor_ >= 0) {
    ::close(descriptor_);
  }
}

bool ChildProcess::awaitEnd(milliseconds time) {
  const auto end = Clock::now() + time;
  while (!hasEnded()) {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now());
    if (left <= milliseconds(0)) {
      return false;
    }
    if (descriptor_ >= 0) {
      pollfd ended{.fd = descriptor_, .events = POLLIN, .revents = 0};
      ::poll(&ended, 1, static_cast<int>(left.count()));
    } else {
      std::this_thread::sleep_for(std::min(left, kLookInterval));
    }
  }
  return true;
}

bool ChildProcess::hasEnded() {
  if (status_) {
    return true;
  }
  int status = 0;
  const pid_t ended = waitpid(pid_, &status, WNOHANG);
  if (ended == pid_) {
    status_ = status;
  } else if (ended < 0 && errno != EINTR) {
    status_ = -1;  // somebody else has taken its status
  }
  return status_.has_value();
}

void ChildProcess::signalGroup(int signal) const {
  ::kill(-pid_, signal);
}

}  // namespace quendal
