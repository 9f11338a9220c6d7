// What the display application notices, in order with what the service runs and waits for.
#pragma once

#include "support/semaphore_set.h"

#include <array>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace quendal {

/// Holds the seven real semaphores and, at every event of the recording platform, takes what has been
/// posted since the one before. It is the platform's observer while it lives.
class DisplayTrace {
 public:
  DisplayTrace();
  ~DisplayTrace();
  DisplayTrace(const DisplayTrace&) = delete;
  DisplayTrace& operator=(const DisplayTrace&) = delete;
  DisplayTrace(DisplayTrace&&) = delete;
  DisplayTrace& operator=(DisplayTrace&&) = delete;

  /// "post <event>" (as in "post RXCOMPLETE") and the platform's events. Posts between two events of
  /// the platform stand in the order of the semaphore table.
  std::vector<std::string> entries();

  /// Calls `observer` after each of the platform's events, on the thread that caused it.
  void onEvent(std::function<void(const std::string& event)> observer) { next_ = std::move(observer); }

 private:
  struct Semaphore {
    std::string event;
    SemaphoreSet set;
  };

  void takePosts();

  std::mutex mutex_;
  std::array<Semaphore, 7> semaphores_;
  std::vector<std::string> entries_;
  std::function<void(const std::string& event)> next_;
};

}  // namespace quendal
