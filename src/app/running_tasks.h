// The tasks while they run: whatever ends their supervision ends them.
#pragma once

#include <Poco/Task.h>
#include <Poco/TaskManager.h>

namespace quendal {

/// One task manager, used on the main thread.
///
/// From its first use on, an exception that leaves a thread of the library's before a stop ends the process, with its
/// text in a line and status 70: a task that is gone would leave a service that looks well and does nothing. The
/// tasks stop all that they can go on after; what is left is the want of memory while a thread begins or ends.
class RunningTasks {
 public:
  RunningTasks();

  /// Sets the stop flags, cancels the tasks and waits for their ends.
  ~RunningTasks();

  RunningTasks(const RunningTasks&) = delete;
  RunningTasks& operator=(const RunningTasks&) = delete;
  RunningTasks(RunningTasks&&) = delete;
  RunningTasks& operator=(RunningTasks&&) = delete;

  /// Takes `task` over and starts it on a thread of its own; throws when there is none.
  void start(Poco::Task* task) { tasks_.start(task); }

 private:
  Poco::TaskManager tasks_;
};

}  // namespace quendal
