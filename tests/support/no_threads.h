// A process that can start no further thread.
#pragma once

#include <pthread.h>

#include <cstddef>

namespace quendal {

/// While it lives, no thread that goes by the default attributes can be started: they ask for a stack that no
/// address space has.
class NoThreads {
 public:
  NoThreads() {
    pthread_getattr_default_np(&before_);
    pthread_attr_t attributes{};
    pthread_getattr_default_np(&attributes);
    pthread_attr_setstacksize(&attributes, kImpossibleStack);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
  }
  ~NoThreads() {
    pthread_setattr_default_np(&before_);
    pthread_attr_destroy(&before_);
  }
  NoThreads(const NoThreads&) = delete;
  NoThreads& operator=(const NoThreads&) = delete;
  NoThreads(NoThreads&&) = delete;
  NoThreads& operator=(NoThreads&&) = delete;

 private:
  static constexpr std::size_t kImpossibleStack = std::size_t{1} << (sizeof(std::size_t) == 8 ? 50U : 31U);

  pthread_attr_t before_{};
};

}  // namespace quendal
