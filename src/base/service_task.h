// Base of the five long-running tasks: when they must stop and how they wait.
#pragma once

#include "base/flags.h"

#include <Poco/Task.h>

#include <atomic>
#include <string>

namespace quendal {

/// A task that ends when its stop flag is set or when it is cancelled.
class ServiceTask : public Poco::Task {
 public:
  /// Asks the task to end and wakes it from its wait. Any thread.
  void cancel() override {
    cancelRequested_ = true;
    Poco::Task::cancel();
  }

 protected:
  /// `stopReq` must outlive the task.
  ServiceTask(const std::string& name, const Flag& stopReq) : Poco::Task(name), stopReq_(stopReq) {}

  /// Must the task end? It asks the note that cancel leaves: the library's own isCancelled forgets a
  /// cancellation that comes before the task's thread has begun.
  bool mustStop() const { return stopReq_ || cancelRequested_; }

  /// Waits `milliseconds`, or until the task is cancelled; every later call then returns at once.
  /// Returns true when the task has to end. Call it on the task's own thread.
  ///
  /// Poco::Task::sleep is not virtual, so the tasks wait through this function; it is defined beside
  /// the rest of the seam (see platform.h).
  bool sleepMs(long milliseconds);

 private:
  const Flag& stopReq_;
  std::atomic<bool> cancelRequested_{false};
};

}  // namespace quendal
