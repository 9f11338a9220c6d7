// A real System V semaphore whose identifier stands in the environment, as the display would export it.
#pragma once

#include <string>

namespace quendal {

/// Creates the semaphore with value 0 and sets the environment variable `variable` to its identifier;
/// takes both back at the end.
class SemaphoreSet {
 public:
  explicit SemaphoreSet(const std::string& variable);
  ~SemaphoreSet();
  SemaphoreSet(const SemaphoreSet&) = delete;
  SemaphoreSet& operator=(const SemaphoreSet&) = delete;
  SemaphoreSet(SemaphoreSet&&) = delete;
  SemaphoreSet& operator=(SemaphoreSet&&) = delete;

  int id() const { return semId_; }

  /// How often it has been posted and not yet taken.
  int value() const;

  /// Takes one post as the display does; false when there is none.
  bool take();

  void remove();

 private:
  std::string variable_;
  int semId_;
};

}  // namespace quendal
