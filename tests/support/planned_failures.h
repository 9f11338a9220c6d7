// Which calls of one function of the system are to fail: for what stands in for that function.
#pragma once

#include <atomic>
#include <cerrno>

namespace quendal::fake {

class PlannedFailures {
 public:
  /// The next `passes` calls go through, the `count` calls after them fail with `error`. Any thread.
  void plan(int passes, int count, int error) {
    failures_ = 0;
    error_ = error;
    passes_ = passes;
    failures_ = count;
  }

  /// Counts one call; true, with errno set, when it has to fail.
  bool isNext() {
    if (failures_ <= 0 || passes_-- > 0 || failures_-- <= 0) {
      return false;
    }
    errno = error_;
    return true;
  }

 private:
  std::atomic<int> passes_ = 0;
  std::atomic<int> failures_ = 0;
  std::atomic<int> error_ = 0;
};

}  // namespace quendal::fake
