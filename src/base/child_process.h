// One shell command as a child process with a process group of its own.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace quendal {

/// A started command. The one thread that waits for it uses it.
///
/// Its end is seen at once, without SIGCHLD handlers, which belong to a whole process. Destroying it leaves the
/// process alone.
class ChildProcess {
 public:
  /// Starts `command` with /bin/sh, as platform::runShell says; in `directory` unless that is empty. Nothing when
  /// it cannot be started, or the child cannot change to the directory.
  static std::optional<ChildProcess> start(const std::string& command, const std::string& directory);

  ~ChildProcess();
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ChildProcess& operator=(ChildProcess&&) = delete;

  /// Waits for the end of the shell for `time` at most; has it ended? From then on it leaves no zombie.
  bool awaitEnd(std::chrono::milliseconds time);

  /// The wait status; nothing before the end.
  std::optional<int> status() const { return status_; }

  /// Sends `signal` to the whole group; who may not be signalled is not.
  void signalGroup(int signal) const;

  pid_t pid() const { return pid_; }

 private:
  explicit ChildProcess(pid_t pid);
  bool hasEnded();

  pid_t pid_;
  int descriptor_;  // tells the end; -1 where the kernel has none
  std::optional<int> status_;
};

}  // namespace quendal
