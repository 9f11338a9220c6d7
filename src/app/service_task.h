// Base of the five long-running tasks: their waits go through the platform seam.
#pragma once

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
  explicit ServiceTask(const std::string& name) : Poco::Task(name) {}

  /// Waits `milliseconds`, or until the task is cancelled; every later call then returns at once.
  /// Returns true when the task has been cancelled. Call it on the task's own thread.
  ///
  /// Poco::Task::sleep is not virtual, so the tasks wait through this function; it is defined beside
  /// the rest of the seam (see platform.h).
  bool sleepMs(long milliseconds);

  /// Has cancel been called? The library's own isCancelled forgets a cancellation that comes before
  /// the task's thread has begun.
  bool isCancelRequested() const { return cancelRequested_; }

 private:
  std::atomic<bool> cancelRequested_{false};
};

}  // namespace quendal
