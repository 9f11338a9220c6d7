// Waiting for another thread: as long as it takes and no longer.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace quendal {

/// Looks at `condition` until it holds; false when it does not within five seconds, which no sound run
/// comes near.
inline bool eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  return true;
}

}  // namespace quendal
