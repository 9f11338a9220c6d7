#include "support/failing_lock.h"

#include <pthread.h>

#include <cerrno>

namespace quendal::fake {
namespace {

thread_local bool failsNext = false;

}  // namespace

void failNextLock() {
  failsNext = true;
}

}  // namespace quendal::fake

// The names are the linker's.
// NOLINTBEGIN(readability-identifier-naming)
extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  using namespace quendal::fake;
  if (failsNext) {
    failsNext = false;
    return EDEADLK;
  }
  return __real_pthread_mutex_lock(mutex);
}

}  // extern "C"
// NOLINTEND(readability-identifier-naming)
